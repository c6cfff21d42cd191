// The choice of the interface whose hardware address the console reports.
#include "support/TestMain.h"
#include "tests/worker/FakeNetwork.h"
#include "tests/worker/TConsole.h"

#include "net/TWirelessNetworkUtils.h"
#include "worker/DeviceReport.h"

#include <QtNetwork/QNetworkInterface>
#include <QtTest/QtTest>

using fakes::FakeNetwork;

class tst_HardwareAddress : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void theFakeNetworkReplacesTheSystems();
    void theWiredInterfaceComesFirst();
    void usesAWiredInterfaceWithoutAnAddress();
    void usesTheWirelessInterfaceIfTheWiredOneIsUnknown();
    void neitherInterfaceGivesNoAddress();
    void theAddressIsCutToNineteen_data();
    void theAddressIsCutToNineteen();
    void readsTheAddressForEachReport();

private:
    // The address in a report.
    static QString Address(const char* ethernetName = "eth7")
    {
        kesdk::api::Environment::MeasDeviceInfo device;
        fillTestMeasDeviceInfo(device,
                               TConsole(QStringLiteral("C"), QString::fromLatin1(ethernetName)));
        return QString::fromStdWString(device.hardwareAddress);
    }

    FakeNetwork& m_network = FakeNetwork::Instance();
    const QString m_wired = QStringLiteral("eth7");
    const QString m_wireless = TWirelessNetworkUtils::GetWirelessName();
};

void tst_HardwareAddress::init()
{
    m_network.addresses.clear();
    m_network.asked.clear();
}

void tst_HardwareAddress::theFakeNetworkReplacesTheSystems()
{
    QVERIFY(!QNetworkInterface::interfaceFromName(m_wired).isValid());
    m_network.addresses = {{m_wired, QStringLiteral("any text")}};
    const QNetworkInterface found = QNetworkInterface::interfaceFromName(m_wired);
    QVERIFY(found.isValid());
    QCOMPARE(found.hardwareAddress(), QStringLiteral("any text"));
}

void tst_HardwareAddress::theWiredInterfaceComesFirst()
{
    m_network.addresses = {{m_wired, QStringLiteral("02:00:00:00:00:01")},
                           {m_wireless, QStringLiteral("02:00:00:00:00:02")}};
    QCOMPARE(Address(), QStringLiteral("02:00:00:00:00:01"));
    QCOMPARE(m_network.asked, QStringList{m_wired});
}

void tst_HardwareAddress::usesAWiredInterfaceWithoutAnAddress()
{
    m_network.addresses = {{m_wired, QString()}, {m_wireless, QStringLiteral("02:00:00:00:00:02")}};
    QCOMPARE(Address(), QString());
    QCOMPARE(m_network.asked, QStringList{m_wired});
}

void tst_HardwareAddress::usesTheWirelessInterfaceIfTheWiredOneIsUnknown()
{
    m_network.addresses = {{m_wireless, QStringLiteral("02:00:00:00:00:02")}};
    QCOMPARE(Address(), QStringLiteral("02:00:00:00:00:02"));
    QCOMPARE(m_network.asked, (QStringList{m_wired, m_wireless}));
    QCOMPARE(Address(""), QStringLiteral("02:00:00:00:00:02"));
}

void tst_HardwareAddress::neitherInterfaceGivesNoAddress()
{
    m_network.addresses = {{QStringLiteral("other7"), QStringLiteral("02:00:00:00:00:03")}};
    QCOMPARE(Address(), QString());
    QCOMPARE(m_network.asked, (QStringList{m_wired, m_wireless}));
}

void tst_HardwareAddress::theAddressIsCutToNineteen_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("reported");
    const auto row = [](const char* name, const char* address, const char* reported) {
        QTest::newRow(name) << QString::fromLatin1(address) << QString::fromLatin1(reported);
    };
    row("six bytes", "02:FC:00:00:00:01", "02:FC:00:00:00:01");
    row("eighteen characters", "02:FC:00:00:00:01:", "02:FC:00:00:00:01:");
    row("nineteen", "02:FC:00:00:00:01:2", "02:FC:00:00:00:01:2");
    row("seven bytes", "02:FC:00:00:00:01:23", "02:FC:00:00:00:01:2");
    row("eight bytes", "02:FC:00:00:00:01:23:45", "02:FC:00:00:00:01:2");
    row("twenty bytes", "80:00:02:08:FE:80:00:00:00:00:00:00:02:FC:00:00:00:01:23:45",
        "80:00:02:08:FE:80:0");
}

void tst_HardwareAddress::theAddressIsCutToNineteen()
{
    QFETCH(QString, address);
    QFETCH(QString, reported);
    m_network.addresses = {{m_wired, address}};
    QCOMPARE(Address(), reported);
    m_network.addresses = {{m_wireless, address}};
    QCOMPARE(Address(), reported);
}

void tst_HardwareAddress::readsTheAddressForEachReport()
{
    for (const char* address : {"02:00:00:00:00:01", "02:00:00:00:00:02"}) {
        m_network.addresses = {{m_wired, QString::fromLatin1(address)}};
        QCOMPARE(Address(), QString::fromLatin1(address));
    }
}

KELVO_TEST_MAIN(tst_HardwareAddress)
#include "tst_HardwareAddress.moc"
