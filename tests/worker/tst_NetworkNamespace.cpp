// The hardware address of real interfaces in a new network namespace. The loopback interface is
// down, and the test creates other interfaces.
#include "support/Needs.h"
#include "support/TestMain.h"
#include "tests/worker/TConsole.h"

#include "net/TWirelessNetworkUtils.h"
#include "worker/DeviceReport.h"

#include <QtNetwork/QNetworkInterface>
#include <QtTest/QtTest>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_tun.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

class tst_NetworkNamespace : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void usesAWiredInterfaceThatIsDown();
    void findsAndReportsANewInterface_data();
    void findsAndReportsANewInterface();
};

namespace {

// An Ethernet interface that is down, during the lifetime of this object.
class TTap
{
public:
    explicit TTap(const char* name) : m_file(open("/dev/net/tun", O_RDWR | O_CLOEXEC))
    {
        ifreq request = {};
        std::strncpy(request.ifr_name, name, IFNAMSIZ - 1);
        request.ifr_flags = IFF_TAP | IFF_NO_PI;
        m_isThere = m_file >= 0 && ioctl(m_file, TUNSETIFF, &request) == 0;
        const char address[] = {0x02, 0x1c, 0x00, 0x00, 0x00, 0x07};
        request.ifr_hwaddr.sa_family = ARPHRD_ETHER;
        std::memcpy(request.ifr_hwaddr.sa_data, address, sizeof(address));
        m_isThere = m_isThere && ioctl(m_file, SIOCSIFHWADDR, &request) == 0;
    }
    ~TTap()
    {
        if (m_file >= 0)
            close(m_file);
    }
    TTap(const TTap&) = delete;
    TTap& operator=(const TTap&) = delete;

    bool IsThere() const { return m_isThere; }

private:
    const int m_file;
    bool m_isThere = false;
};

QString Address(const QString& ethernetName)
{
    kesdk::api::Environment::MeasDeviceInfo device;
    fillTestMeasDeviceInfo(device, TConsole(QStringLiteral("C"), ethernetName));
    return QString::fromStdWString(device.hardwareAddress);
}

} // namespace

// Some users and some CI systems may not create network namespaces. If it is allowed, the test has
// to work.
void tst_NetworkNamespace::initTestCase()
{
    if (unshare(CLONE_NEWNET) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0)
        return;
    if (errno == EPERM)
        QSKIP("no leave to make a network namespace");
    KELVO_NEEDS(false, "a network namespace of one's own");
}

void tst_NetworkNamespace::usesAWiredInterfaceThatIsDown()
{
    const auto loopback = QNetworkInterface::interfaceFromName(QStringLiteral("lo"));
    QVERIFY(loopback.isValid());
    QVERIFY(!loopback.flags().testFlag(QNetworkInterface::IsUp));
    QCOMPARE(Address(QStringLiteral("lo")), QStringLiteral("00:00:00:00:00:00"));
    QCOMPARE(TWirelessNetworkUtils::GetWirelessName(), QStringLiteral("wlan0"));
    QCOMPARE(Address(QStringLiteral("eth7")), QString()); // neither interface exists
}

void tst_NetworkNamespace::findsAndReportsANewInterface_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"ra0", "wlp0s29f7u1", "wlan0"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

void tst_NetworkNamespace::findsAndReportsANewInterface()
{
    QFETCH(QString, name);
    const TTap tap(name.toLatin1().constData());
    if (!tap.IsThere())
        QSKIP("no leave to make a network interface");
    QCOMPARE(TWirelessNetworkUtils::GetWirelessName(), name);
    QCOMPARE(Address(QStringLiteral("eth7")), QStringLiteral("02:1C:00:00:00:07"));
    QCOMPARE(Address(QStringLiteral("lo")), QStringLiteral("00:00:00:00:00:00"));
    QCOMPARE(Address(name), QStringLiteral("02:1C:00:00:00:07"));
}

KELVO_TEST_MAIN(tst_NetworkNamespace)
#include "tst_NetworkNamespace.moc"
