// The command parser: valid and faulty lines.
#include "console/headless/CommandParser.h"
#include "support/TestMain.h"

using console::EHubSignal;
using console::EVerb;
using console::TCommand;

class TCommandParserTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void parsesValidLines_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<int>("verb");
        QTest::addColumn<int>("project");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<bool>("isBackground");
        const auto row = [](const char* line, EVerb verb, int project, const QStringList& names,
                            bool isBackground) {
            QTest::newRow(line) << QString::fromUtf8(line) << static_cast<int>(verb) << project
                                << names << isBackground;
        };
        const QString a = QStringLiteral("a.zip");
        row("", EVerb::eNone, 0, {}, false);
        row("  # login", EVerb::eNone, 0, {}, false);
        row("login", EVerb::eLogin, 0, {}, false);
        row("login# no comment within a word", EVerb::eNone, -1, {}, false);
        row(" login &  # in the background", EVerb::eLogin, 0, {}, true);
        row("list maps", EVerb::eList, 0, {}, false);
        row("list projectlines", EVerb::eList, 6, {}, false);
        row("upload reports a.zip", EVerb::eUpload, 1, {a}, false);
        row("download curves a.zip 'b c.zip' \"d'e.zip\" &", EVerb::eDownload, 3,
            {a, QStringLiteral("b c.zip"), QStringLiteral("d'e.zip")}, true);
        row("delete pivots '&'", EVerb::eDelete, 4, {QStringLiteral("&")}, false);
        row("delete pivots & a.zip", EVerb::eDelete, 4, {QStringLiteral("&"), a}, false);
        row("upload optimal \"#1.zip\" größe.zip", EVerb::eUpload, 5,
            {QStringLiteral("#1.zip"), QStringLiteral("größe.zip")}, false);
        row("upload ablines x' 'y", EVerb::eUpload, 2, {QStringLiteral("x y")}, false);
    }

    void parsesValidLines()
    {
        QFETCH(QString, line);
        QFETCH(int, project);
        TCommand command;
        QString error;
        if (project < 0) {
            QVERIFY(!console::ParseCommand(line, command, error));
            return;
        }
        QVERIFY2(console::ParseCommand(line, command, error), qUtf8Printable(error));
        QTEST(static_cast<int>(command.verb), "verb");
        QCOMPARE(static_cast<int>(command.project), project);
        QTEST(command.fileNames, "names");
        QTEST(command.isBackground, "isBackground");
    }

    void refusesFaultyLines_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("error");
        const auto row = [](const char* line, const char* error) {
            QTest::newRow(line) << QString::fromUtf8(line) << QString::fromUtf8(error);
        };
        row("fly", "unknown command \"fly\"");
        row("&", "unknown command \"\"");
        row("login now", "usage: login [&]");
        row("list", "usage: list KIND");
        row("list maps a.zip", "usage: list KIND");
        row("upload curves", "usage: upload KIND NAME... [&]");
        row("upload curves &", "usage: upload KIND NAME... [&]");
        row("upload curves ''", "usage: upload KIND NAME... [&]");
        row("cancel &", "usage: cancel");
        row("list fields", "unknown kind \"fields\", use one of maps reports ablines curves "
                           "pivots optimal projectlines");
        row("download curves 'a.zip", "a quote is not closed");
        row("wait KelvoHome", "the hub has no signal \"KelvoHome\"");
    }

    void refusesFaultyLines()
    {
        QFETCH(QString, line);
        TCommand command;
        QString error;
        QVERIFY(!console::ParseCommand(line, command, error));
        QTEST(error, "error");
    }

    void parsesTheSignalsOfAWait()
    {
        TCommand command;
        QString error;
        QVERIFY(console::ParseCommand(QStringLiteral("wait KelvoLoggedIn NewKelvoProjectFilesList"),
                                      command, error));
        const QList<EHubSignal> expected = {EHubSignal::eLoggedIn,
                                            EHubSignal::eNewProjectFilesList};
        QCOMPARE(command.signalsToAwait, expected);
    }
};

KELVO_TEST_MAIN(TCommandParserTest)
#include "tst_CommandParser.moc"
