// The serial source, with a pseudo terminal as the line.
#include "console/position/Sentences.h"
#include "console/position/SerialPort.h"
#include "console/position/TMonitored.h"
#include "console/position/TPseudoTerminal.h"
#include "console/position/TSerialSource.h"
#include "support/HangGuard.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <termios.h>

using namespace kelvo::test;
using console::ESourceState;
using console::TSerialSource;

class TSerialSourceTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void readsSentencesOfTheReceiver()
    {
        TMonitored monitored;
        const TPseudoTerminal line;
        TSerialSource source(line.Device(), 38400, monitored.monitor, monitored.time);
        source.Start();
        QCOMPARE(line.Speed(), unsigned(B38400));
        line.Write(Gga("093015.25", '5').left(40));
        line.Write(Gga("093015.25", '5').mid(40) + Rmc("093015.25", 'A'));
        QTRY_COMPARE_WITH_TIMEOUT(monitored.monitor.State().fixes, std::uint64_t(2), HANG_GUARD_MS);
        QCOMPARE(monitored.coordinator.GetCurrentFix().utcTime, 93015.25);
        QCOMPARE(monitored.monitor.State().counts.Faulty(), std::uint64_t(0));
        monitored.time.Advance(5000);
        QCOMPARE(monitored.gpsLost, std::vector<bool>({false, true}));
    }

    void readsRawBytes()
    {
        TMonitored monitored;
        const TPseudoTerminal line;
        TSerialSource source(line.Device(), 4800, monitored.monitor, monitored.time);
        source.Start();
        line.Write("\x03\x04\x11\x13\x1a\x7f" + Gga("093015", '1'));
        QTRY_COMPARE_WITH_TIMEOUT(monitored.monitor.State().fixes, std::uint64_t(1), HANG_GUARD_MS);
    }

    void reconnectsWhenTheReceiverIsPluggedInAgain()
    {
        const TExpectedMessage warning(QStringLiteral("Receiver at"));
        const QTemporaryDir folder;
        const QString device = folder.filePath(QStringLiteral("receiver"));
        TMonitored monitored;
        TPseudoTerminal first;
        QVERIFY(QFile::link(first.Device(), device));
        TSerialSource source(device, 4800, monitored.monitor, monitored.time);
        source.Start();
        first.Write(Gga("093015", '1'));
        QTRY_COMPARE_WITH_TIMEOUT(monitored.gpsLost, std::vector<bool>({false}), HANG_GUARD_MS);
        first.Unplug();
        QTRY_COMPARE_WITH_TIMEOUT(monitored.gpsLost, std::vector<bool>({false, true}),
                                  HANG_GUARD_MS);
        QVERIFY(QFile::remove(device));
        monitored.time.AdvanceToNext(); // still unplugged
        const TPseudoTerminal second;
        QVERIFY(QFile::link(second.Device(), device));
        QCOMPARE(monitored.time.NextInMs(), std::int64_t(2000));
        monitored.time.AdvanceToNext();
        second.Write(Gga("093016", '1'));
        QTRY_COMPARE_WITH_TIMEOUT(monitored.gpsLost, std::vector<bool>({false, true, false}),
                                  HANG_GUARD_MS);
    }

    void retriesADeviceThatIsNoSerialPort_data()
    {
        QTest::addColumn<QString>("device");
        QTest::newRow("not there") << QStringLiteral("/nowhere/receiver");
        QTest::newRow("a device of another kind") << QStringLiteral("/dev/null");
        QTest::newRow("a folder") << QStringLiteral("/");
    }

    void retriesADeviceThatIsNoSerialPort()
    {
        QFETCH(QString, device);
        TExpectedMessage warning(QStringLiteral("Receiver at"));
        TMonitored monitored;
        TSerialSource source(device, 4800, monitored.monitor, monitored.time);
        source.Start();
        monitored.time.Advance(60000);
        QCOMPARE(warning.Count(), 1);
        QCOMPARE(monitored.monitor.State().source, ESourceState::eConnecting);
        QCOMPARE(monitored.time.NextInMs() > 0, true);
    }

    void knowsTheUsualRates()
    {
        for (const int baud : {4800, 9600, 38400, 115200}) {
            QVERIFY(console::IsBaudRate(baud));
        }
        QVERIFY(!console::IsBaudRate(0) && !console::IsBaudRate(4801));
    }

    void listsThePortsThatExist()
    {
        const QTemporaryDir folder;
        const QDir root(folder.path());
        const auto terminal = [&root](const char* name, const char* type) {
            const QString path = QStringLiteral("tty/") + QLatin1String(name);
            QVERIFY(root.mkpath(path));
            if (type != nullptr) {
                QVERIFY(root.mkpath(path + QStringLiteral("/device")));
                QFile file(root.filePath(path + QStringLiteral("/type")));
                QVERIFY(*type == '\0' || (file.open(QIODevice::WriteOnly) && file.write(type) > 0));
            }
        };
        terminal("tty0", nullptr); // no hardware: a screen
        terminal("ttyS0", "4\n");
        terminal("ttyS1", "0\n"); // no hardware
        terminal("ttyUSB0", "");
        terminal("ttyACM0", "");
        QVERIFY(root.mkpath(QStringLiteral("by-id")));
        QVERIFY(QFile::link(QStringLiteral("../../ttyUSB0"),
                            root.filePath(QStringLiteral("by-id/usb-receiver-if00"))));
        QCOMPARE(console::SerialPorts(root.filePath(QStringLiteral("tty")),
                                      root.filePath(QStringLiteral("by-id"))),
                 QStringList({QStringLiteral("/dev/ttyACM0"), QStringLiteral("/dev/ttyS0"),
                              root.filePath(QStringLiteral("by-id/usb-receiver-if00"))}));
        QCOMPARE(console::SerialPorts(QStringLiteral("/nowhere"), QStringLiteral("/nowhere")),
                 QStringList());
    }
};

KELVO_TEST_MAIN(TSerialSourceTest)
#include "tst_SerialSource.moc"
