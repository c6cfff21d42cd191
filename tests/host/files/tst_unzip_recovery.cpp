// Unzip: the recovery from each state that a killed run can leave.
#include "host/files/TUnzipFixture.h"

#include "files/Posix.h"
#include "support/TestMain.h"

#include <QtCore/QElapsedTimer>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace kelvo::test;
using namespace hostimpl;

namespace {

const QString staging = QStringLiteral(".console-unpacking");

TFolderImage Below(const QString& folder, const TFolderImage& content)
{
    TFolderImage image = {{folder, "folder"}};
    for (auto entry = content.cbegin(); entry != content.cend(); ++entry) {
        image.insert(folder + QLatin1Char('/') + entry.key(), entry.value());
    }
    return image;
}

TFolderImage Together(TFolderImage first, const TFolderImage& second)
{
    for (auto entry = second.cbegin(); entry != second.cend(); ++entry) {
        first.insert(entry.key(), entry.value());
    }
    return first;
}

const TFolderImage other = {{QStringLiteral("other"), "folder"},
                            {QStringLiteral("other/file"), "file:kept"},
                            {QStringLiteral("same"), "file:kept"}};
const TFolderImage oldFolder =
    Below(QStringLiteral("archive"), {{QStringLiteral("a"), "folder"},
                                      {QStringLiteral("a/x"), "file:old"},
                                      {QStringLiteral("same"), "file:old"}});
const TFolderImage newFolder =
    Below(QStringLiteral("archive"), {{QStringLiteral("same"), "file:new"}});
const TFolderImage contentBefore = Together(other, oldFolder);
const TFolderImage contentAfter = Together(other, newFolder);

// The staging folder of a run that was killed while it read the archive.
TFolderImage Unfinished()
{
    return Below(staging,
                 {{QStringLiteral("new"), "folder"}, {QStringLiteral("new/same"), "file:n"}});
}

// The staging folder with a folder that has moved aside.
TFolderImage Aside(const TFolderImage& folder)
{
    return Below(staging, Below(QStringLiteral("old"), folder));
}

} // namespace

Q_DECLARE_METATYPE(kelvo::test::TFolderImage)

class tst_UnzipRecovery : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void recoversFromEachState_data();
    void recoversFromEachState();
    void recoversBeforeTheNextArchive();
    void doesNotWaitForeverForAnotherProcess();
    void refusesAnArchiveWhileAnotherProcessUnpacksThere();
    void waitsASecondForAllFoldersTogether();
    void acceptsAMissingFolder();
};

void tst_UnzipRecovery::recoversFromEachState_data()
{
    QTest::addColumn<TFolderImage>("left");
    QTest::addColumn<TFolderImage>("repaired");
    const auto row = [](const char* title, const TFolderImage& left, const TFolderImage& repaired) {
        QTest::newRow(title) << left << repaired;
    };
    row("nothing", contentBefore, contentBefore);
    row("empty staging folder", Together(contentBefore, Below(staging, {})), contentBefore);
    row("half unpacked", Together(contentBefore, Unfinished()), contentBefore);
    row("exchanged", Together(contentAfter, Below(staging, oldFolder)), contentAfter);
    row("moved aside, nothing in its place", Together(other, Aside(oldFolder)), contentBefore);
    row("moved aside, new folder not moved yet",
        Together(Together(other, Unfinished()), Aside(oldFolder)), contentBefore);
    row("moved aside, new folder in its place", Together(contentAfter, Aside(oldFolder)),
        contentAfter);
    row("a file aside", Together(other, Aside({{QStringLiteral("0"), "file:x"}})), other);
    row("a file in place of the staging folder", Together(contentBefore, {{staging, "file:x"}}),
        contentBefore);
}

void tst_UnzipRecovery::recoversFromEachState()
{
    QFETCH(TFolderImage, left);
    QFETCH(TFolderImage, repaired);
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(left));
    QString errorText;
    for (int time = 0; time < 2; ++time) {
        QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
        QCOMPARE(fixture.Content(), repaired);
    }
}

void tst_UnzipRecovery::doesNotWaitForeverForAnotherProcess()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(Together(contentBefore, Unfinished())));
    QString errorText;
    {
        const TDescriptor others(::open(QFile::encodeName(fixture.Destination()).constData(),
                                        O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        QCOMPARE(::flock(others.Get(), LOCK_EX), 0);
        QVERIFY(!RecoverUnpacking(fixture.Destination(), errorText));
        QVERIFY(!errorText.isEmpty());
        QVERIFY(fixture.Content() != contentBefore);
    }
    QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
    QCOMPARE(fixture.Content(), contentBefore);
}

void tst_UnzipRecovery::refusesAnArchiveWhileAnotherProcessUnpacksThere()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(contentBefore));
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("same", "new")));
    TUnpackLimits limits;
    limits.otherProcess = std::chrono::milliseconds(1);
    {
        const TDescriptor others(::open(QFile::encodeName(fixture.Destination()).constData(),
                                        O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        QCOMPARE(::flock(others.Get(), LOCK_EX), 0);
        QVERIFY(!fixture.Unzip(limits));
        QVERIFY2(fixture.ErrorText().contains(QStringLiteral("Another program is unpacking")),
                 qPrintable(fixture.ErrorText()));
        QCOMPARE(fixture.Content(), contentBefore);
    }
    QVERIFY2(fixture.Unzip(limits), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Content(), contentAfter);
}

// The main thread waits for the recovery. One second for each folder would add up to a minute here.
void tst_UnzipRecovery::waitsASecondForAllFoldersTogether()
{
    constexpr int TIMES = 60;
    constexpr qint64 HANG_GUARD_MS = 30000;
    TUnzipFixture held;
    TUnzipFixture free;
    QVERIFY(free.SetContent(Together(contentBefore, Unfinished())));
    QVERIFY(held.SetContent(contentBefore));
    const TDescriptor others(::open(QFile::encodeName(held.Destination()).constData(),
                                    O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    QCOMPARE(::flock(others.Get(), LOCK_EX), 0);
    QStringList folders;
    for (int i = 0; i < TIMES; ++i) {
        folders << held.Destination();
    }
    folders << free.Destination();
    QElapsedTimer taken;
    taken.start();
    const QStringList problems = RecoverUnpacking(folders);
    QVERIFY(taken.elapsed() < HANG_GUARD_MS);
    QCOMPARE(problems.size(), TIMES);
    QVERIFY(problems.constFirst().contains(held.Destination()));
    QCOMPARE(free.Content(), contentBefore);
}

void tst_UnzipRecovery::recoversBeforeTheNextArchive()
{
    TUnzipFixture fixture;
    TFolderImage aside;
    for (const QString& name : {QStringLiteral("archive"), QStringLiteral("field")}) {
        aside.insert(name, "folder");
        aside.insert(name + QStringLiteral("/same"), "file:old");
    }
    QVERIFY(fixture.SetContent(Together(other, Aside(aside))));
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("same", "new")));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Content(),
             Together(contentAfter,
                      Below(QStringLiteral("field"), {{QStringLiteral("same"), "file:old"}})));
}

void tst_UnzipRecovery::acceptsAMissingFolder()
{
    TUnzipFixture fixture;
    QString errorText;
    QVERIFY(RecoverUnpacking(fixture.Root() + QStringLiteral("/missing"), errorText));
    QVERIFY(errorText.isEmpty());
}

KELVO_TEST_MAIN(tst_UnzipRecovery)
#include "tst_unzip_recovery.moc"
