// The choice of the wireless interface.
#include "support/TestMain.h"

#include "net/TWirelessNetworkUtils.h"
#include "net/WirelessName.h"

#include <QtNetwork/QNetworkInterface>
#include <QtTest/QtTest>

class tst_WirelessName : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void takesTheFirstWirelessName_data();
    void takesTheFirstWirelessName();
    void takesTheSystemsInterfacesInTheirOrder();
};

void tst_WirelessName::takesTheFirstWirelessName_data()
{
    QTest::addColumn<QString>("names"); // separated by blanks
    QTest::addColumn<QString>("chosen");
    const auto row = [](const char* name, const char* names, const char* chosen) {
        QTest::newRow(name) << QString::fromLatin1(names) << QString::fromLatin1(chosen);
    };
    row("no interface", "", "wlan0");
    row("none is wireless", "lo eth0 enp3s0", "wlan0");
    row("wlan0 is the answer, not a match", "lo wlan1 wlan2", "wlan0");
    row("wlan0 among others", "wlan0 ra0", "ra0");
    row("the third", "lo eth0 ra0", "ra0");
    row("ra before p0s29f", "lo eth0 ra0 wlp0s29f7u1", "ra0");
    row("p0s29f before ra", "lo wlp0s29f7u1 ra0", "wlp0s29f7u1");
    row("p0s29f alone", "lo eth0 wlp0s29f7u1", "wlp0s29f7u1");
    row("p0s29f is the whole name", "p0s29f", "p0s29f");
    row("p0s29f of a wired one", "enp0s29f1u2", "enp0s29f1u2");
    row("nearly p0s29f", "wlp0s29 wlp0s28f7u1 p1s29f", "wlan0");
    row("the first of two", "ra1 ra0", "ra1");
    row("ra inside a name", "lo vibra0 ra0", "vibra0");
    row("ra at the end", "lo xra ra0", "xra");
    row("both in one name", "rap0s29f lo", "rap0s29f");
    row("a bridge too", "bravo ra0", "bravo");
    row("letters of another case", "RA0 Ra1 rA2 wlP0S29F", "wlan0");
    row("r and a apart", "r0a a0r ar0", "wlan0");
    row("twice the same", "ra0 ra0", "ra0");
}

void tst_WirelessName::takesTheFirstWirelessName()
{
    QFETCH(QString, names);
    QFETCH(QString, chosen);
    const QStringList list = names.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    QCOMPARE(ChooseWirelessName(list), chosen);
}

void tst_WirelessName::takesTheSystemsInterfacesInTheirOrder()
{
    QString expected;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& each : interfaces) {
        const bool isWireless = each.name().contains(QLatin1String("p0s29f")) ||
                                each.name().contains(QLatin1String("ra"));
        if (isWireless && expected.isEmpty())
            expected = each.name();
    }
    if (expected.isEmpty())
        expected = QStringLiteral("wlan0");
    QCOMPARE(TWirelessNetworkUtils::GetWirelessName(), expected);
}

KELVO_TEST_MAIN(tst_WirelessName)
#include "tst_WirelessName.moc"
