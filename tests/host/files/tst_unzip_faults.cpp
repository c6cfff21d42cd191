// Unzip: a kill before each system call, and a failure of each system call.
#include "host/files/TTracedUnzip.h"
#include "host/files/TUnzipFixture.h"

#include "support/Needs.h"
#include "support/TestMain.h"

#include <cerrno>

using namespace kelvo::test;
using namespace hostimpl;

namespace {

const TFolderImage contentBefore = {{QStringLiteral("a"), "folder"},
                                    {QStringLiteral("a/kept"), "file:kept"},
                                    {QStringLiteral("a/same"), "file:former"},
                                    {QStringLiteral("b"), "folder"},
                                    {QStringLiteral("same"), "file:former"}};

// The content of the destination after the archive is unpacked over contentBefore.
TFolderImage ContentAfter()
{
    TFolderImage content = contentBefore;
    content[QStringLiteral("a/same")] = content[QStringLiteral("same")] = "file:new";
    content[QStringLiteral("a/new")] = "folder";
    content[QStringLiteral("a/new/x")] = content[QStringLiteral("b/new")] = "file:new";
    return content;
}

TZipBuilder TracedArchive()
{
    return TZipBuilder()
        .AddFile("a/same", "new")
        .AddFile("a/new/x", "new")
        .AddFile("b/new", "new")
        .AddFile("same", "new");
}

// Restores the destination's content before the archive.
bool Reset(const TUnzipFixture& fixture)
{
    return QDir(fixture.Destination()).removeRecursively() && QDir().mkdir(fixture.Destination()) &&
           fixture.SetContent(contentBefore);
}

TFolderImage WithoutStaging(TFolderImage image)
{
    const QStringList paths = image.keys();
    for (const QString& path : paths) {
        if (path.startsWith(QStringLiteral(".console-unpacking"))) {
            image.remove(path);
        }
    }
    return image;
}

} // namespace

class tst_UnzipFaults : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void isAllOrNothingAfterAKillBeforeAnySystemCall();
    void returnsTheTrueResultIfAnySystemCallFails();
};

// After a kill at any call, the destination has the whole archive or nothing of it, and no other
// files.
void tst_UnzipFaults::isAllOrNothingAfterAKillBeforeAnySystemCall()
{
    TUnzipFixture fixture(QuickFolder());
    QVERIFY(fixture.SetArchive(TracedArchive()));
    QVERIFY(fixture.SetContent(contentBefore));
    const TFolderImage contentAfter = ContentAfter();
    int undone = 0;
    int completed = 0;
    for (int call = 1;; ++call) {
        TTracedUnzip process(fixture);
        KELVO_NEEDS(process.IsTraced(), "the right to trace a process of one's own");
        if (!process.RunTo(call)) {
            break;
        }
        process.Kill();
        const bool wasTouched = fixture.Content() != contentBefore;
        QString errorText;
        QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
        const TFolderImage now = fixture.Content();
        if (now == contentAfter) {
            ++completed;
            QVERIFY(Reset(fixture));
            continue;
        }
        QVERIFY2(now == contentBefore, qPrintable(QStringLiteral("killed at %1").arg(call)));
        undone += wasTouched ? 1 : 0;
    }
    QVERIFY(undone > 0);
    QVERIFY(completed > 0);
}

// If Unzip() returns true, the destination has the whole archive. If it returns false, the
// destination has nothing of the archive, either at once or, if undoing failed too, after the
// recovery.
void tst_UnzipFaults::returnsTheTrueResultIfAnySystemCallFails()
{
    KELVO_NEEDS(TTracedUnzip::CanFailCalls(), "a processor whose registers are known");
    TUnzipFixture fixture(QuickFolder());
    QVERIFY(fixture.SetArchive(TracedArchive()));
    const TFolderImage contentAfter = ContentAfter();
    int failures = 0;
    for (int call = 1;; ++call) {
        QVERIFY(Reset(fixture));
        TTracedUnzip process(fixture);
        KELVO_NEEDS(process.IsTraced(), "the right to trace a process of one's own");
        if (!process.RunTo(call)) {
            break;
        }
        const std::optional<bool> result = process.FailCallAndFinish(EIO);
        const QByteArray where = "call " + QByteArray::number(call);
        const TFolderImage visible = WithoutStaging(fixture.Content());
        QString errorText;
        QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
        const TFolderImage repaired = fixture.Content();
        if (!result.has_value()) {
            QVERIFY2(repaired == contentBefore || repaired == contentAfter, where.constData());
            continue;
        }
        QVERIFY2(repaired == (*result ? contentAfter : contentBefore), where.constData());
        QVERIFY2(visible == repaired, where.constData());
        failures += *result ? 0 : 1;
    }
    QVERIFY(failures > 10);
}

KELVO_TEST_MAIN(tst_UnzipFaults)
#include "tst_unzip_faults.moc"
