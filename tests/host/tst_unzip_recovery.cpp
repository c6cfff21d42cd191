// Unzip: what it does about a run that was killed, at each moment that it can be killed at.
#include "host/TUnzipFixture.h"

#include "files/Placement.h"
#include "files/TStagingFolder.h"
#include "support/TestMain.h"

#include <cerrno>
#include <csignal>
#include <optional>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace kelvo::test;
using namespace hostimpl;

namespace {

const TFolderImage contentBefore = {{QStringLiteral("a"), "folder"},
                                    {QStringLiteral("a/kept"), "file:kept"},
                                    {QStringLiteral("a/same"), "file:former"},
                                    {QStringLiteral("b"), "folder"},
                                    {QStringLiteral("same"), "file:former"}};

// Makes, by the classes that Unzip uses, the states that it goes through.
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
    // As far as a replacement comes before the new file is in its place.
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

// Where syncing costs nothing, if there is such a place.
QString QuickFolder()
{
    const QString memory = QStringLiteral("/dev/shm");
    return QFileInfo(memory).isWritable() ? memory : QDir::tempPath();
}

// A process that unpacks, one system call at a time.
class TTracedUnzip
{
public:
    explicit TTracedUnzip(const TUnzipFixture& fixture) : m_child(::fork())
    {
        if (m_child == 0) {
            if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
                ::_exit(1);
            }
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
            ::raise(SIGSTOP);
            QString errorText;
            ::_exit(Unzip(fixture.Archive(), fixture.Destination(), {}, errorText) ? 0 : 1);
        }
        m_isRunning = m_child > 0 && WaitForStop();
        m_isTraced = m_isRunning;
    }
    ~TTracedUnzip() { Kill(); }
    TTracedUnzip(const TTracedUnzip&) = delete;
    TTracedUnzip& operator=(const TTracedUnzip&) = delete;

    // Whether this system lets it be traced at all.
    bool IsTraced() const { return m_isTraced; }
    // Runs up to the system call of this number, from 1, which is not made yet. False if it ended
    // before.
    bool RunTo(int call)
    {
        // It stops before and after each call.
        for (int stop = 0; m_isRunning && stop < 2 * call - 1; ++stop) {
            ::ptrace(PTRACE_SYSCALL, m_child, nullptr, nullptr);
            m_isRunning = WaitForStop();
        }
        return m_isRunning;
    }
    void Kill()
    {
        if (m_isRunning) {
            ::kill(m_child, SIGKILL);
            ::waitpid(m_child, nullptr, 0);
            m_isRunning = false;
        }
    }
#ifdef __x86_64__
    // Makes the call fail that it stands at, and runs to the end. Whether Unzip() returned true;
    // nothing if it did not return.
    std::optional<bool> FailCallAndFinish(int error)
    {
        user_regs_struct registers = {};
        ::ptrace(PTRACE_GETREGS, m_child, nullptr, &registers);
        registers.orig_rax = ~0ULL; // no such call
        ::ptrace(PTRACE_SETREGS, m_child, nullptr, &registers);
        ::ptrace(PTRACE_SYSCALL, m_child, nullptr, nullptr);
        m_isRunning = WaitForStop();
        registers.rax = static_cast<unsigned long long>(-error);
        ::ptrace(PTRACE_SETREGS, m_child, nullptr, &registers);
        ::ptrace(PTRACE_CONT, m_child, nullptr, nullptr);
        m_isRunning = WaitForStop();
        if (m_isRunning) { // at the signal of a crash, such as for want of memory
            Kill();
            return std::nullopt;
        }
        return WIFEXITED(m_status) ? std::optional<bool>(WEXITSTATUS(m_status) == 0) : std::nullopt;
    }
#endif

private:
    bool WaitForStop()
    {
        return ::waitpid(m_child, &m_status, 0) == m_child && WIFSTOPPED(m_status);
    }

    const pid_t m_child;
    int m_status = 0;
    bool m_isTraced = false;
    bool m_isRunning = false;
};

// What the traced archive makes of contentBefore.
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

// The destination as it was before the archive came.
bool Reset(const TUnzipFixture& fixture)
{
    return QDir(fixture.Destination()).removeRecursively() && QDir().mkdir(fixture.Destination()) &&
           fixture.SetContent(contentBefore);
}

} // namespace

class tst_UnzipRecovery : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void hasFiveStepsHere();
    void recoversAfterEachStep();
    void recoversWithinAReplacement_data();
    void recoversWithinAReplacement();
    void forgetsStagingWithoutJournal();
    void forgetsStagingWithUnfinishedJournal_data();
    void forgetsStagingWithUnfinishedJournal();
    void keepsWhatWasCompleted();
    void recoversTwice();
    void recoversBeforeTheNextArchive();
    void keepsWhatCameInBetween();
    void acceptsAMissingFolder();
    void survivesAKillBeforeAnySystemCall();
    void tellsTheTruthWhenAnySystemCallFails();
};

// What the other tests rely on: three additions and two replacements.
void tst_UnzipRecovery::hasFiveStepsHere()
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

void tst_UnzipRecovery::forgetsStagingWithoutJournal()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent(contentBefore));
    QVERIFY(THalfDone(fixture.Destination()).Stage());
    QString errorText;
    QVERIFY2(RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
    QCOMPARE(fixture.Content(), contentBefore);
}

void tst_UnzipRecovery::forgetsStagingWithUnfinishedJournal_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("cut in a step") << QByteArray("replace a/sa");
    QTest::newRow("cut before the end") << QByteArray("replace a/same\n");
    QTest::newRow("cut in the end") << QByteArray("replace a/same\nend");
    QTest::newRow("something else") << QByteArray("remove a/same\nend\n");
}

void tst_UnzipRecovery::forgetsStagingWithUnfinishedJournal()
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

void tst_UnzipRecovery::keepsWhatWasCompleted()
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

// Killed while it was being undone.
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

// What somebody put where an addition was still to go is none of ours.
void tst_UnzipRecovery::keepsWhatCameInBetween()
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

// Whichever call it was: afterwards there is all of the archive or nothing of it, and nothing else.
void tst_UnzipRecovery::survivesAKillBeforeAnySystemCall()
{
    TUnzipFixture fixture(QuickFolder());
    QVERIFY(fixture.SetArchive(TracedArchive()));
    QVERIFY(fixture.SetContent(contentBefore));
    const TFolderImage contentAfter = ContentAfter();
    int undone = 0;
    int completed = 0;
    for (int call = 1;; ++call) {
        TTracedUnzip process(fixture);
        if (!process.IsTraced()) {
            QSKIP("this system does not let a process be traced");
        }
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

// What it returns is what there is: all of the archive, or nothing of it at once, or, where undoing
// itself had failed, after the repair.
void tst_UnzipRecovery::tellsTheTruthWhenAnySystemCallFails()
{
#ifdef __x86_64__
    TUnzipFixture fixture(QuickFolder());
    QVERIFY(fixture.SetArchive(TracedArchive()));
    const TFolderImage contentAfter = ContentAfter();
    int failures = 0;
    for (int call = 1;; ++call) {
        QVERIFY(Reset(fixture));
        TTracedUnzip process(fixture);
        if (!process.IsTraced()) {
            QSKIP("this system does not let a process be traced");
        }
        if (!process.RunTo(call)) {
            break;
        }
        const std::optional<bool> result = process.FailCallAndFinish(EIO);
        const QByteArray where = "call " + QByteArray::number(call);
        const TFolderImage now = fixture.Content();
        TFolderImage visible = now;
        for (const QString& path : now.keys()) {
            if (path.startsWith(QStringLiteral(".console-unpacking"))) {
                visible.remove(path);
            }
        }
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
#else
    QSKIP("only for the registers of x86-64");
#endif
}

KELVO_TEST_MAIN(tst_UnzipRecovery)
#include "tst_unzip_recovery.moc"
