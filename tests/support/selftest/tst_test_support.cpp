// The message trap fails a test program only on unexpected messages.
#include "support/TStartedProgram.h"
#include "support/TestMain.h"

class tst_TestSupport : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void exitCodeTellsOfMessages_data()
    {
        QTest::addColumn<QString>("function");
        QTest::addColumn<bool>("passes");
        QTest::addColumn<QByteArray>("output");
        QTest::newRow("no message") << QStringLiteral("passes") << true << QByteArray();
        QTest::newRow("expected") << QStringLiteral("warnsAsExpected") << true << QByteArray();
        QTest::newRow("main thread") << QStringLiteral("warns") << false
                                     << QByteArray("unexpected message: said on the main thread");
        QTest::newRow("other thread") << QStringLiteral("warnsOnAnotherThread") << false
                                      << QByteArray("unexpected message: said on another thread");
        QTest::newRow("missing") << QStringLiteral("expectsAWarningThatDoesNotCome") << false
                                 << QByteArray("expected message did not come: never said");
        QTest::newRow("after the tests") << QStringLiteral("warnsWhenDestroyed") << false
                                         << QByteArray("1 unexpected message(s)");
    }

    void exitCodeTellsOfMessages()
    {
        QFETCH(QString, function);
        QFETCH(bool, passes);
        QFETCH(QByteArray, output);
        kelvo::test::TStartedProgram program(QStringLiteral(FAILING_PROGRAM), {function});
        QVERIFY(program.IsStarted());
        QVERIFY(program.ReadOutput().contains(output));
        const int exitCode = program.ExitCode();
        QVERIFY(exitCode >= 0); // no crash
        QCOMPARE(exitCode == 0, passes);
    }
};

KELVO_TEST_MAIN(tst_TestSupport)
#include "tst_test_support.moc"
