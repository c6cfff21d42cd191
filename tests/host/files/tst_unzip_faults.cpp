// Unzip: a kill before each system call, and a failure of each system call.
#include "host/files/TTracedUnzip.h"
#include "host/files/TUnzipFixture.h"

#include "support/Needs.h"
#include "support/TestMain.h"

#include <cerrno>

using namespace kelvo::test;
using namespace hostimpl;

namespace {

const TFolderImage oldContent = {{QStringLiteral("archive"), "folder"},
                                 {QStringLiteral("archive/a"), "folder"},
                                 {QStringLiteral("archive/a/former"), "file:former"},
                                 {QStringLiteral("archive/same"), "file:former"},
                                 {QStringLiteral("same"), "file:kept"}};
const TFolderImage newContent = {
    {QStringLiteral("archive"), "folder"},       {QStringLiteral("archive/a"), "folder"},
    {QStringLiteral("archive/a/x"), "file:new"}, {QStringLiteral("archive/b"), "folder"},
    {QStringLiteral("archive/b/x"), "file:new"}, {QStringLiteral("archive/same"), "file:new"},
    {QStringLiteral("same"), "file:kept"}};

TZipBuilder TracedArchive()
{
    return TZipBuilder().AddFile("a/x", "new").AddFile("b/x", "new").AddFile("same", "new");
}

// Restores the destination's content before the archive.
bool Reset(const TUnzipFixture& fixture, const TFolderImage& content)
{
    return QDir(fixture.Destination()).removeRecursively() && QDir().mkdir(fixture.Destination()) &&
           fixture.SetContent(content);
}

void AddStarts()
{
    QTest::addColumn<TFolderImage>("contentBefore");
    QTest::addColumn<ERenames>("renames");
    QTest::newRow("new folder") << TFolderImage{{QStringLiteral("same"), "file:kept"}}
                                << ERenames::eAll;
    QTest::newRow("new folder, only plain renames")
        << TFolderImage{{QStringLiteral("same"), "file:kept"}} << ERenames::eOnlyPlain;
    QTest::newRow("replaced folder") << oldContent << ERenames::eAll;
    QTest::newRow("replaced folder, only plain renames") << oldContent << ERenames::eOnlyPlain;
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

Q_DECLARE_METATYPE(kelvo::test::TFolderImage)
Q_DECLARE_METATYPE(kelvo::test::ERenames)

class tst_UnzipFaults : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void unpacksAllOrNothingWhenKilledBeforeAnySystemCall_data() { AddStarts(); }
    void unpacksAllOrNothingWhenKilledBeforeAnySystemCall();
    void returnsTheTrueResultIfAnySystemCallFails_data() { AddStarts(); }
    void returnsTheTrueResultIfAnySystemCallFails();
    void saysWhichFolderIsThereIfTwoSystemCallsFail_data() { AddStarts(); }
    void saysWhichFolderIsThereIfTwoSystemCallsFail();
};

// After a kill at any call, the destination has the old or the new folder, whole. Only a file
// system without an exchange needs the recovery for this promise.
void tst_UnzipFaults::unpacksAllOrNothingWhenKilledBeforeAnySystemCall()
{
    QFETCH(TFolderImage, contentBefore);
    QFETCH(ERenames, renames);
    TUnzipFixture fixture(QuickFolder());
    QVERIFY(fixture.SetArchive(TracedArchive()));
    int undone = 0;
    int completed = 0;
    int moved = 0;
    for (int call = 1;; ++call) {
        QVERIFY(Reset(fixture, contentBefore));
        TTracedUnzip process(fixture, renames);
        KELVO_NEEDS(process.IsTraced(), "the right to trace a process of one's own");
        if (!process.RunTo(call)) {
            break;
        }
        process.Kill();
        const TFolderImage left = fixture.Content();
        const TFolderImage visible = WithoutStaging(left);
        const bool isWhole = visible == contentBefore || visible == newContent;
        QVERIFY2(isWhole || renames == ERenames::eOnlyPlain, QByteArray::number(call).constData());
        QString errorText;
        QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
        const TFolderImage now = fixture.Content();
        QVERIFY2(now == contentBefore || now == newContent, QByteArray::number(call).constData());
        moved += isWhole ? 0 : 1;
        undone += now == contentBefore && left != contentBefore ? 1 : 0;
        completed += now == newContent ? 1 : 0;
    }
    QVERIFY(undone > 0);
    QVERIFY(completed > 0);
    QCOMPARE(moved > 0, renames == ERenames::eOnlyPlain && contentBefore == oldContent);
}

// If Unzip() returns true, the destination has the new folder. If it returns false, the destination
// has not changed, either at once or, if undoing failed too, after the recovery.
void tst_UnzipFaults::returnsTheTrueResultIfAnySystemCallFails()
{
    KELVO_NEEDS(TTracedUnzip::CanFailCalls(), "a processor whose registers are known");
    QFETCH(TFolderImage, contentBefore);
    QFETCH(ERenames, renames);
    TUnzipFixture fixture(QuickFolder());
    QVERIFY(fixture.SetArchive(TracedArchive()));
    int failures = 0;
    for (int call = 1;; ++call) {
        QVERIFY(Reset(fixture, contentBefore));
        TTracedUnzip process(fixture, renames);
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
            QVERIFY2(repaired == contentBefore || repaired == newContent, where.constData());
            continue;
        }
        QVERIFY2(repaired == (*result ? newContent : contentBefore), where.constData());
        QVERIFY2(visible == repaired, where.constData());
        failures += *result ? 0 : 1;
    }
    QVERIFY(failures > 10);
}

// A rename or a sync fails, and then one of the calls that undo it. The old or the new folder is
// there, whole. If Unzip() returns false although the new folder is there, the error text says so.
void tst_UnzipFaults::saysWhichFolderIsThereIfTwoSystemCallsFail()
{
    KELVO_NEEDS(TTracedUnzip::CanFailCalls(), "a processor whose registers are known");
    QFETCH(TFolderImage, contentBefore);
    QFETCH(ERenames, renames);
    TUnzipFixture fixture(QuickFolder());
    QVERIFY(fixture.SetArchive(TracedArchive()));
    int newDespiteFailure = 0;
    bool isRunning = true;
    for (int first = 1; isRunning; ++first) {
        for (int second = 1;; ++second) {
            QVERIFY(Reset(fixture, contentBefore));
            TTracedUnzip process(fixture, renames);
            KELVO_NEEDS(process.IsTraced(), "the right to trace a process of one's own");
            isRunning = process.RunTo(first);
            if (!process.IsRenameOrSync() || !process.FailCall(EIO) || !process.RunTo(second)) {
                break;
            }
            const std::optional<bool> result = process.FailCallAndFinish(EIO);
            const QByteArray where =
                QByteArray::number(first) + " and " + QByteArray::number(second);
            QString errorText;
            QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
            const TFolderImage now = fixture.Content();
            QVERIFY2(now == contentBefore || now == newContent, where.constData());
            if (result.has_value()) {
                const bool isNew = now == newContent;
                const bool isSaid = process.ErrorText().contains(QStringLiteral("in its place, "));
                QVERIFY2(!*result || isNew, where.constData());
                QVERIFY2(*result || isSaid == isNew, where + qPrintable(process.ErrorText()));
                newDespiteFailure += isNew && !*result ? 1 : 0;
            }
        }
    }
    QVERIFY(newDespiteFailure > 0);
}

KELVO_TEST_MAIN(tst_UnzipFaults)
#include "tst_unzip_faults.moc"
