// The console has a password in its memory and must leave no core file.
#include "support/TStartedProgram.h"
#include "support/TestMain.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

class tst_CoreFiles : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void consoleLeavesNoCoreFile();
};

// The test reads the limits of the console while the console waits for its script.
void tst_CoreFiles::consoleLeavesNoCoreFile()
{
    rlimit limit = {};
    QCOMPARE(::getrlimit(RLIMIT_CORE, &limit), 0);
    if (limit.rlim_max == 0) {
        QSKIP("This machine allows no core files.");
    }
    limit.rlim_cur = limit.rlim_max;
    QCOMPARE(::setrlimit(RLIMIT_CORE, &limit), 0);
    const QTemporaryDir folder;
    const QString script = folder.filePath(QStringLiteral("script"));
    QCOMPARE(::mkfifo(QFile::encodeName(script).constData(), 0600), 0);
    kelvo::test::TStartedProgram console(QStringLiteral(KELVO_CONSOLE),
                                         {QStringLiteral("--headless"), QStringLiteral("--script"),
                                          script, QStringLiteral("--data"), folder.path()});
    QVERIFY(console.IsStarted());
    const int writer = ::open(QFile::encodeName(script).constData(), O_WRONLY | O_CLOEXEC);
    QVERIFY(writer >= 0);
    rlimit limitOfConsole = {1, 0};
    const int result = ::prlimit(console.Pid(), RLIMIT_CORE, nullptr, &limitOfConsole);
    QCOMPARE(::write(writer, "no command\n", 11),
             ssize_t(11)); // a faulty line, so that the console ends
    ::close(writer);
    QVERIFY2(console.ReadOutput().contains(":1:"), "the console did not read the script");
    QCOMPARE(result, 0);
    QCOMPARE(limitOfConsole.rlim_cur, rlim_t(0));
    QCOMPARE(limitOfConsole.rlim_max, limit.rlim_max);
}

KELVO_TEST_MAIN(tst_CoreFiles)
#include "tst_CoreFiles.moc"
