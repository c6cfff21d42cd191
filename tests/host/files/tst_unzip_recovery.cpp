// Unzip: the recovery from each state that a killed run can leave.
#include "host/files/TUnzipFixture.h"

#include "files/Placement.h"
#include "files/TStagingFolder.h"
#include "support/TestMain.h"

#include <QtCore/QElapsedTimer>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace kelvo::test;
using namespace hostimpl;

namespace {

const TFolderImage contentBefore = {{QStringLiteral("a"), "folder"},
                                    {QStringLiteral("a/kept"), "file:kept"},
                                    {QStringLiteral("a/same"), "file:former"},
                                    {QStringLiteral("b"), "folder"},
                                    {QStringLiteral("same"), "file:former"}};

// Creates the states of an unpacking with the classes that Unzip uses.
class THalfDone
{
public:
    explicit THalfDone(const QString& destination)
        : m_destination(::open(QFile::encodeName(destination).constData(),
                               O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
          m_staging(m_destination.Get())
    {}

    bool Stage()
    {
        QString errorText;
        return m_staging.Create(errorText) && AddFile("a/same") && AddFile("a/new/x") &&
               AddFile("b/new") && AddFile("new/x") && AddFile("same") &&
               PlanPlacement(m_staging.Staged(), m_destination.Get(), m_steps, errorText);
    }
    bool WriteJournal() { return Journal().Write(m_steps); }
    bool PlaceFirst(int steps)
    {
        QString errorText;
        return Place(m_staging, m_destination.Get(), m_steps.mid(0, steps), errorText);
    }
    // The first half of a replacement: the new file is not in its place yet.
    bool KeepAside(int step, bool hasLinks)
    {
        const char* const path = m_steps[step].path.constData();
        const QByteArray number = QByteArray::number(step);
        return (hasLinks ? ::linkat(m_destination.Get(), path, m_staging.Replaced(),
                                    number.constData(), 0)
                         : ::renameat(m_destination.Get(), path, m_staging.Replaced(),
                                      number.constData())) == 0;
    }
    bool IsReplacement(int step) const { return m_steps[step].kind == EPlacement::eReplace; }
    int Steps() const { return m_steps.size(); }
    TPlacementJournal Journal() const { return TPlacementJournal(m_staging.Descriptor()); }

private:
    bool AddFile(const QByteArray& path)
    {
        QString errorText;
        const TDescriptor file = m_staging.AddFile(path, errorText);
        return file.IsValid() && WriteAll(file.Get(), "new", 3);
    }

    TDescriptor m_destination;
    TStagingFolder m_staging;
    TPlacementSteps m_steps;
};

} // namespace

class tst_UnzipRecovery : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void theFixtureHasFiveSteps();
    void recoversAfterEachStep();
    void recoversWithinAReplacement_data();
    void recoversWithinAReplacement();
    void removesAStagingFolderWithoutAJournal();
    void removesAStagingFolderWithAnIncompleteJournal_data();
    void removesAStagingFolderWithAnIncompleteJournal();
    void keepsACompleteUnpacking();
    void recoversTwice();
    void recoversBeforeTheNextArchive();
    void doesNotWaitForeverForAnotherProcess();
    void waitsASecondForAllFoldersTogether();
    void keepsFilesOfOtherProgramsInTheDestination();
    void acceptsAMissingFolder();
};

// The other tests rely on these three additions and two replacements.
void tst_UnzipRecovery::theFixtureHasFiveSteps()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(contentBefore));
    THalfDone run(fixture.Destination());
    QVERIFY(run.Stage());
    QCOMPARE(run.Steps(), 5);
    QVERIFY(run.WriteJournal());
    QVERIFY(run.PlaceFirst(5));
    const TFolderImage after = fixture.Content();
    QCOMPARE(after.value(QStringLiteral("a/same")), QByteArray("file:new"));
    QCOMPARE(after.value(QStringLiteral("a/new/x")), QByteArray("file:new"));
    QCOMPARE(after.value(QStringLiteral("a/kept")), QByteArray("file:kept"));
}

void tst_UnzipRecovery::recoversAfterEachStep()
{
    for (int steps = 0; steps <= 5; ++steps) {
        TUnzipFixture fixture;
        QVERIFY(fixture.SetContent(contentBefore));
        THalfDone run(fixture.Destination());
        QVERIFY(run.Stage());
        QVERIFY(run.WriteJournal());
        QVERIFY(run.PlaceFirst(steps));
        QVERIFY(fixture.Content() != contentBefore);
        QString errorText;
        QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
        QCOMPARE(fixture.Content(), contentBefore);
    }
}

void tst_UnzipRecovery::recoversWithinAReplacement_data()
{
    QTest::addColumn<bool>("hasLinks");
    QTest::newRow("file system with links") << true;
    QTest::newRow("file system without links") << false;
}

void tst_UnzipRecovery::recoversWithinAReplacement()
{
    QFETCH(bool, hasLinks);
    int replacements = 0;
    for (int step = 0; step < 5; ++step) {
        TUnzipFixture fixture;
        QVERIFY(fixture.SetContent(contentBefore));
        THalfDone run(fixture.Destination());
        QVERIFY(run.Stage());
        if (!run.IsReplacement(step)) {
            continue;
        }
        ++replacements;
        QVERIFY(run.WriteJournal());
        QVERIFY(run.PlaceFirst(step));
        QVERIFY(run.KeepAside(step, hasLinks));
        QString errorText;
        QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
        QCOMPARE(fixture.Content(), contentBefore);
    }
    QCOMPARE(replacements, 2);
}

void tst_UnzipRecovery::removesAStagingFolderWithoutAJournal()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(contentBefore));
    QVERIFY(THalfDone(fixture.Destination()).Stage());
    QString errorText;
    QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
    QCOMPARE(fixture.Content(), contentBefore);
}

void tst_UnzipRecovery::removesAStagingFolderWithAnIncompleteJournal_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("cut in a step") << QByteArray("replace a/sa");
    QTest::newRow("cut before the end") << QByteArray("replace a/same\n");
    QTest::newRow("cut in the end") << QByteArray("replace a/same\nend");
    QTest::newRow("something else") << QByteArray("remove a/same\nend\n");
}

void tst_UnzipRecovery::removesAStagingFolderWithAnIncompleteJournal()
{
    QFETCH(QByteArray, text);
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(contentBefore));
    QVERIFY(THalfDone(fixture.Destination()).Stage());
    QVERIFY(WriteFile(fixture.Destination() + QStringLiteral("/.console-unpacking/journal"), text));
    QString errorText;
    QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
    QCOMPARE(fixture.Content(), contentBefore);
}

void tst_UnzipRecovery::keepsACompleteUnpacking()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(contentBefore));
    THalfDone run(fixture.Destination());
    QVERIFY(run.Stage());
    QVERIFY(run.WriteJournal());
    QVERIFY(run.PlaceFirst(5));
    QVERIFY(run.Journal().Remove());
    QString errorText;
    QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
    QCOMPARE(fixture.Content().value(QStringLiteral("same")), QByteArray("file:new"));
    QCOMPARE(fixture.Content().value(QStringLiteral("new/x")), QByteArray("file:new"));
    QVERIFY(!fixture.Content().contains(QStringLiteral(".console-unpacking")));
}

void tst_UnzipRecovery::doesNotWaitForeverForAnotherProcess()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(contentBefore));
    QVERIFY(THalfDone(fixture.Destination()).Stage());
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

// The main thread waits for the recovery. One second for each folder would add up to a minute here.
void tst_UnzipRecovery::waitsASecondForAllFoldersTogether()
{
    constexpr int TIMES = 60;
    constexpr qint64 HANG_GUARD_MS = 30000;
    TUnzipFixture held;
    TUnzipFixture free;
    QVERIFY(free.SetContent(contentBefore));
    QVERIFY(THalfDone(free.Destination()).Stage());
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

// The first recovery was killed too.
void tst_UnzipRecovery::recoversTwice()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(contentBefore));
    THalfDone run(fixture.Destination());
    QVERIFY(run.Stage());
    QVERIFY(run.WriteJournal());
    QVERIFY(run.PlaceFirst(4));
    TPlacementSteps steps;
    QVERIFY(run.Journal().Read(steps));
    const TDescriptor destination(::open(QFile::encodeName(fixture.Destination()).constData(),
                                         O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    TStagingFolder leftover(destination.Get());
    QVERIFY(leftover.OpenLeftover());
    QVERIFY(UndoPlacement(leftover, destination.Get(), steps));
    QString errorText;
    QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
    QCOMPARE(fixture.Content(), contentBefore);
}

void tst_UnzipRecovery::recoversBeforeTheNextArchive()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(contentBefore));
    {
        THalfDone run(fixture.Destination());
        QVERIFY(run.Stage());
        QVERIFY(run.WriteJournal());
        QVERIFY(run.PlaceFirst(3));
    }
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("other", "other")));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    TFolderImage expected = contentBefore;
    expected.insert(QStringLiteral("other"), "file:other");
    QCOMPARE(fixture.Content(), expected);
}

// Another program has created a file in the place of an addition that was not executed yet.
void tst_UnzipRecovery::keepsFilesOfOtherProgramsInTheDestination()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(contentBefore));
    THalfDone run(fixture.Destination());
    QVERIFY(run.Stage());
    QVERIFY(run.WriteJournal());
    TFolderImage expected = contentBefore;
    expected.insert(QStringLiteral("b/new"), "file:of somebody");
    QVERIFY(WriteFile(fixture.Destination() + QStringLiteral("/b/new"), "of somebody"));
    QString errorText;
    QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
    QCOMPARE(fixture.Content(), expected);
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
