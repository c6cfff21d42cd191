// The console's options on the command line.
#include "console/session/ConsoleSettings.h"
#include "support/TestMain.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QTemporaryFile>

using console::TConsoleSettings;

class TConsoleSettingsTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    // The text of the error; empty after a success.
    static QString Read(const QStringList& arguments, TConsoleSettings& settings)
    {
        QCommandLineParser parser;
        console::DescribeOptions(parser);
        QString error;
        if (!parser.parse(QStringList(QStringLiteral("kelvo-console")) + arguments)) {
            return parser.errorText();
        }
        return console::ReadSettings(parser, settings, error) ? QString() : error;
    }

private Q_SLOTS:
    void hasDefaults()
    {
        TConsoleSettings settings;
        QCOMPARE(Read({}, settings), QString());
        QVERIFY(!settings.isServiceGiven && !settings.isAuthorityGiven && !settings.isGpsGiven);
        QVERIFY(!settings.isHeadless);
        QVERIFY(settings.pluginPath.endsWith(QStringLiteral("/lib/libkelvo.so")));
        QVERIFY(QDir::isAbsolutePath(settings.dataFolder));
        QCOMPARE(settings.scriptFile, QStringLiteral("-"));
        QCOMPARE(settings.timeoutSeconds, 120);
        QVERIFY(settings.service.isEmpty() && settings.authorityFile.isEmpty());
    }

    void makesPathsAbsolute()
    {
        TConsoleSettings settings;
        QCOMPARE(Read({QStringLiteral("--data"), QStringLiteral("some/../where/"),
                       QStringLiteral("--plugin"), QStringLiteral("libkelvo.so")},
                      settings),
                 QString());
        QCOMPARE(settings.dataFolder, QDir::current().absoluteFilePath(QStringLiteral("where")));
        QCOMPARE(settings.pluginPath,
                 QDir::current().absoluteFilePath(QStringLiteral("libkelvo.so")));
    }

    void acceptsOnlyServiceAddresses_data()
    {
        QTest::addColumn<QString>("service");
        QTest::addColumn<bool>("isGood");
        QTest::newRow("name") << QStringLiteral("farm.example") << true;
        QTest::newRow("name and port") << QStringLiteral("farm.example:8443") << true;
        QTest::newRow("address") << QStringLiteral("127.0.0.1:1") << true;
        QTest::newRow("IPv6") << QStringLiteral("[::1]:8443") << true;
        QTest::newRow("empty") << QString() << false;
        QTest::newRow("URL") << QStringLiteral("https://farm.example") << false;
        QTest::newRow("path") << QStringLiteral("farm.example/api") << false;
        QTest::newRow("user") << QStringLiteral("olga@farm.example") << false;
        QTest::newRow("port only") << QStringLiteral(":8443") << false;
    }

    void acceptsOnlyServiceAddresses()
    {
        QFETCH(QString, service);
        QFETCH(bool, isGood);
        TConsoleSettings settings;
        QCOMPARE(Read({QStringLiteral("--service"), service}, settings).isEmpty(), isGood);
    }

    void refusesInvalidOptions_data()
    {
        QTest::addColumn<QStringList>("arguments");
        const auto row = [](const QStringList& arguments) {
            QTest::newRow(qUtf8Printable(arguments.join(QLatin1Char(' ')))) << arguments;
        };
        row({QStringLiteral("--timeout"), QStringLiteral("0")});
        row({QStringLiteral("--timeout"), QStringLiteral("soon")});
        row({QStringLiteral("--timeout"), QStringLiteral("86401")});
        row({QStringLiteral("--ca"), QStringLiteral("/nowhere/ca.pem")});
        row({QStringLiteral("--password"), QStringLiteral("x")});
        row({QStringLiteral("--gps"), QStringLiteral("satellite")});
        row({QStringLiteral("--gps"), QString()});
        row({QStringLiteral("--gps"), QStringLiteral("nmea:/nowhere/log")});
        row({QStringLiteral("--show-position"), QStringLiteral("always")});
        row({QStringLiteral("login")});
    }

    void refusesInvalidOptions()
    {
        QFETCH(QStringList, arguments);
        TConsoleSettings settings;
        QVERIFY(!Read(arguments, settings).isEmpty());
    }

    void readsThePositionSource()
    {
        TConsoleSettings settings;
        QCOMPARE(Read({}, settings), QString());
        QCOMPARE(settings.gps.kind, console::EGpsKind::eNone);
        QCOMPARE(settings.shownPositions, console::EShownPositions::eNone);
        QCOMPARE(Read({QStringLiteral("--gps"), QStringLiteral("gpsd:cab:99"),
                       QStringLiteral("--show-position"), QStringLiteral("changes")},
                      settings),
                 QString());
        QCOMPARE(settings.gps.kind, console::EGpsKind::eGpsd);
        QCOMPARE(settings.gps.host, QStringLiteral("cab"));
        QCOMPARE(settings.shownPositions, console::EShownPositions::eChanges);
    }

    void exportsTheVariablesOfThePlugin()
    {
        QTemporaryFile authority;
        QVERIFY(authority.open());
        TConsoleSettings settings;
        QCOMPARE(Read({QStringLiteral("--service"), QStringLiteral("farm.example:1"),
                       QStringLiteral("--ca"), authority.fileName(), QStringLiteral("--data"),
                       QStringLiteral("/tractor/data")},
                      settings),
                 QString());
        QVERIFY(settings.isServiceGiven && settings.isAuthorityGiven && settings.isDataFolderGiven);
        qunsetenv("KESDK_STATE_FOLDER");
        console::ExportToEnvironment(settings);
        QCOMPARE(qgetenv("KESDK_STATE_FOLDER"), QByteArray("/tractor/data/state/kesdk"));
        QCOMPARE(qgetenv("KELVO_API_HOST"), QByteArray("farm.example:1"));
        QCOMPARE(qgetenv("KESDK_CA_FILE"), authority.fileName().toLocal8Bit());
        QCOMPARE(qgetenv("LANGUAGE"), QByteArray("en"));
    }

    void exportsTheLanguage()
    {
        TConsoleSettings settings;
        settings.language = QStringLiteral("pt_BR");
        qputenv("LANGUAGE", "de");
        console::ExportToEnvironment(settings);
        QCOMPARE(qgetenv("LANGUAGE"), QByteArray("pt_BR"));
        console::ExportToEnvironment(TConsoleSettings());
        QCOMPARE(qgetenv("LANGUAGE"), QByteArray("en"));
    }

    void leavesTheEnvironmentAloneWithoutOptions()
    {
        qputenv("KELVO_API_HOST", "other.example");
        qputenv("KESDK_CA_FILE", "other.pem");
        qputenv("KESDK_STATE_FOLDER", "other");
        console::ExportToEnvironment(TConsoleSettings());
        QCOMPARE(qgetenv("KELVO_API_HOST"), QByteArray("other.example"));
        QCOMPARE(qgetenv("KESDK_CA_FILE"), QByteArray("other.pem"));
        QCOMPARE(qgetenv("KESDK_STATE_FOLDER"), QByteArray("other"));
    }
};

KELVO_TEST_MAIN(TConsoleSettingsTest)
#include "tst_ConsoleSettings.moc"
