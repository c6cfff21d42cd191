// The first stop signal is reported, the next one ends the process.
#include "console/session/TStopSignals.h"
#include "support/HangGuard.h"
#include "support/TestMain.h"

#include <QtTest/QtTest>

#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

using console::TStopSignals;
using kelvo::test::HANG_GUARD_MS;

class TStopSignalsTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void reportsTheFirstSignal()
    {
        QList<int> reported;
        const TStopSignals stopSignals([&reported](int number) { reported << number; });
        QCOMPARE(::raise(SIGTERM), 0);
        QTRY_COMPARE_WITH_TIMEOUT(reported, QList<int>({SIGTERM}), HANG_GUARD_MS);
    }

    void endsTheProcessAtTheNextSignal_data()
    {
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("second");
        QTest::newRow("the same") << SIGINT << SIGINT;
        QTest::newRow("the other") << SIGINT << SIGTERM;
        QTest::newRow("the other way round") << SIGTERM << SIGINT;
    }

    // The main thread of the child is busy: it does not return to its event loop.
    void endsTheProcessAtTheNextSignal()
    {
        QFETCH(int, first);
        QFETCH(int, second);
        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            const TStopSignals stopSignals([](int) {});
            ::raise(first);
            ::raise(second);
            ::_exit(0);
        }
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status));
        QCOMPARE(WTERMSIG(status), second);
    }
};

KELVO_TEST_MAIN(TStopSignalsTest)
#include "tst_StopSignals.moc"
