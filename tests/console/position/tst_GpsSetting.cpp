// The values of --gps.
#include "console/position/GpsSetting.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

using console::EGpsKind;
using console::ParseGpsSetting;
using console::TGpsSetting;

class TGpsSettingTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void parsesGpsdAddresses_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("host");
        QTest::addColumn<int>("port");
        QTest::newRow("default") << QStringLiteral("gpsd") << QStringLiteral("localhost") << 2947;
        QTest::newRow("host") << QStringLiteral("gpsd:cab") << QStringLiteral("cab") << 2947;
        QTest::newRow("port") << QStringLiteral("gpsd:10.0.0.1:99") << QStringLiteral("10.0.0.1")
                              << 99;
        QTest::newRow("IPv6") << QStringLiteral("gpsd:[::1]:99") << QStringLiteral("::1") << 99;
    }

    void parsesGpsdAddresses()
    {
        QFETCH(QString, text);
        TGpsSetting setting;
        QString error;
        QVERIFY2(ParseGpsSetting(text, setting, error), qUtf8Printable(error));
        QCOMPARE(setting.kind, EGpsKind::eGpsd);
        QTEST(setting.host, "host");
        QTEST(int(setting.port), "port");
    }

    void parsesLogsAndSpeeds()
    {
        const QTemporaryDir folder;
        for (const char* name : {"a.log", "b@home", "c:d"}) {
            QFile file(folder.filePath(QString::fromLatin1(name)));
            QVERIFY(file.open(QIODevice::WriteOnly));
            for (const double speed : {1.0, 20.0, 2.5}) {
                const QString at = speed > 1.0 ? QStringLiteral("@%1").arg(speed) : QString();
                TGpsSetting setting;
                QString error;
                QVERIFY2(
                    ParseGpsSetting(QStringLiteral("nmea:") + file.fileName() + at, setting, error),
                    qUtf8Printable(error));
                QCOMPARE(setting.kind, EGpsKind::eLog);
                QCOMPARE(setting.path, file.fileName());
                QCOMPARE(setting.speed, speed);
            }
        }
    }

    void parsesDevicesThatAreMissing()
    {
        TGpsSetting setting;
        QString error;
        QVERIFY(ParseGpsSetting(QStringLiteral("serial:/dev/receiver"), setting, error));
        QCOMPARE(setting.kind, EGpsKind::eSerial);
        QCOMPARE(setting.path, QStringLiteral("/dev/receiver"));
        QCOMPARE(setting.baud, 4800);
        QVERIFY(ParseGpsSetting(QStringLiteral("serial:dev@115200"), setting, error));
        QCOMPARE(setting.path, QDir::current().absoluteFilePath(QStringLiteral("dev")));
        QCOMPARE(setting.baud, 115200);
    }

    void writesASettingInFull()
    {
        for (const char* const text :
             {"gpsd:localhost:2947", "gpsd:[::1]:99", "serial:/dev/receiver@115200", ""}) {
            TGpsSetting setting;
            QString error;
            const QString wanted = QString::fromLatin1(text);
            QCOMPARE(ParseGpsSetting(wanted, setting, error), !wanted.isEmpty());
            QCOMPARE(ToText(setting), wanted);
        }
        TGpsSetting log;
        log.kind = EGpsKind::eLog;
        log.path = QStringLiteral("/day.log");
        log.speed = 2.5;
        QCOMPARE(ToText(log), QStringLiteral("nmea:/day.log@2.5"));
    }

    void refusesInvalidSettings_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("part"); // of the message
        const auto row = [](const char* text, const char* part) {
            QTest::newRow(text) << QString::fromLatin1(text) << QString::fromLatin1(part);
        };
        row("", "none of");
        row("gps", "none of");
        row("GPSD", "none of");
        row("gpsd:", "HOST");
        row("gpsd:cab:", "HOST");
        row("gpsd:cab:0", "HOST");
        row("gpsd:cab:65536", "HOST");
        row("gpsd:a b", "HOST");
        row("gpsd:::1", "HOST");
        row("nmea", "cannot be read");
        row("nmea:", "cannot be read");
        row("nmea:/nowhere/log", "cannot be read");
        row("nmea:/", "cannot be read");
        row("nmea:/nowhere/log@fast", "cannot be read");
        row("nmea:/nowhere/log@0", "speed");
        row("nmea:/nowhere/log@-1", "speed");
        row("nmea:/nowhere/log@0.5", "speed");
        row("nmea:/nowhere/log@1001", "speed");
        row("serial", "DEVICE");
        row("serial:", "DEVICE");
        row("serial:@4800", "DEVICE");
        row("serial:/dev/receiver@4801", "4801");
        row("serial:/dev/receiver@99999999999", "99999999999");
    }

    void refusesInvalidSettings()
    {
        QFETCH(QString, text);
        QFETCH(QString, part);
        TGpsSetting setting;
        QString error;
        QVERIFY(!ParseGpsSetting(text, setting, error));
        QVERIFY2(error.contains(part), qUtf8Printable(error));
    }
};

KELVO_TEST_MAIN(TGpsSettingTest)
#include "tst_GpsSetting.moc"
