// The console as a whole program, where it cannot open its window.
#include "console/session/ExitStatus.h"
#include "support/TStartedProgram.h"
#include "support/TestMain.h"

#include <QtCore/QTemporaryDir>

class tst_MissingDisplay : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void consoleEndsWithAMessage_data();
    void consoleEndsWithAMessage();
};

void tst_MissingDisplay::consoleEndsWithAMessage_data()
{
    QTest::addColumn<QByteArray>("platform");
    QTest::addColumn<QByteArray>("scale");
    QTest::newRow("a platform that shows nothing") << QByteArray("offscreen") << QByteArray();
    QTest::newRow("no framebuffer") << QByteArray("linuxfb:fb=/missing") << QByteArray();
    QTest::newRow("no framebuffer, scale given")
        << QByteArray("linuxfb:fb=/missing") << QByteArray("1");
}

void tst_MissingDisplay::consoleEndsWithAMessage()
{
    QFETCH(const QByteArray, platform);
    QFETCH(const QByteArray, scale);
    const QTemporaryDir folder;
    qputenv("QT_QPA_PLATFORM", platform);
    qputenv("QT_SCALE_FACTOR", scale);
    kelvo::test::TStartedProgram program(QStringLiteral(KELVO_CONSOLE),
                                         {QStringLiteral("--data"), folder.path()});
    QVERIFY(program.IsStarted());
    const QByteArray output = program.ReadOutput();
    QVERIFY2(output.contains("kelvo-console: There is no display for the window. Start the console "
                             "with --headless."),
             output.constData());
    QCOMPARE(program.ExitCode(), int(console::eExitUsage));
}

KELVO_TEST_MAIN(tst_MissingDisplay)
#include "tst_MissingDisplay.moc"
