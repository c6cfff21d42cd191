// The driver family of an interface, read from a folder tree with the layout of sysfs.
#include "support/TestMain.h"

#include "net/TWirelessNetworkUtils.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

class tst_WirelessHardware : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void theFirstKnownDriverDecides_data();
    void theFirstKnownDriverDecides();
    void filesCountLikeFolders();
    void linksToDriversCount();
    void hiddenEntriesDoNotCount();
    void aFileIsNotADriverFolder();
    void withoutADriverFolderTheNameDecides_data();
    void withoutADriverFolderTheNameDecides();
    void withADriverFolderTheNameDoesNotCount();
    void anInterfaceOfTheSystemWithoutADriverIsUnknown();
};

namespace {

// An interface with its drivers, in a folder tree outside sysfs. The interface's name is a relative
// path that leads from sysfs to the tree.
class TDriverTree
{
public:
    explicit TDriverTree(const char* interfaceName = "wlan7")
        : m_interface(m_root.filePath(QString::fromLatin1(interfaceName)))
    {
        if (!m_root.isValid() || !QDir().mkpath(Device()))
            qFatal("cannot make the tree");
    }

    QString Device() const { return m_interface + QStringLiteral("/device/driver/module"); }
    QString Drivers() const { return Device() + QStringLiteral("/drivers"); }
    void AddFolder(const QString& name = QString())
    {
        if (!QDir().mkpath(Drivers() + QLatin1Char('/') + name))
            qFatal("cannot make a driver's folder");
    }
    void AddFile(const QString& name)
    {
        AddFolder();
        QFile file(Drivers() + QLatin1Char('/') + name);
        if (!file.open(QIODevice::WriteOnly))
            qFatal("cannot make a driver's file");
    }

    QString InterfaceName() const { return QStringLiteral("../../..") + m_interface; }
    int Hardware() const { return TWirelessNetworkUtils::GetWirelessHardware(InterfaceName()); }

private:
    const QTemporaryDir m_root;
    const QString m_interface;
};

} // namespace

void tst_WirelessHardware::theFirstKnownDriverDecides_data()
{
    QTest::addColumn<QString>("drivers"); // separated by blanks
    QTest::addColumn<int>("code");
    const auto row = [](const char* name, const char* drivers, int code) {
        QTest::newRow(name) << QString::fromLatin1(drivers) << code;
    };
    row("no driver", "", 0);
    row("an unknown one", "usb:mt7601u", 0);
    row("ath", "pci:ath9k", 1);
    row("ath is all", "ath", 1);
    row("rtl", "usb:rtl8192cu", 2);
    row("rtl is all", "rtl", 2);
    row("rtl8821 and more", "rtl8821au", 3);
    row("rtl8821 is all", "rtl8821", 3);
    row("rtl8821 inside", "usb:rtl8821cu", 3);
    row("nearly rtl8821", "rtl882", 2);
    row("rt", "usb:rt2800usb", 4);
    row("rt inside", "virtio-port", 4);
    row("ath before all in one name", "rtl8821-rt-ath", 1);
    row("rtl8821 before rtl in one name", "rt-rtl-rtl8821", 3);
    row("rtl before rt in one name", "rt-rtl", 2);
    row("letters of another case", "ATH9K Rtl8821 RT2800 rT", 0);
    row("letters apart", "a-t-h r-t", 0);
    // The first known entry in the order of names decides, independent of later entries.
    row("ath, then rtl", "ath9k rtl8192", 1);
    row("rt, then rtl8821", "a-rt2800 b-rtl8821", 4);
    row("rtl, then ath", "a-rtl8192 b-ath9k", 2);
    row("unknown ones first", "aaa bbb ccc-rtl8821 ddd-ath", 3);
    row("upper case first in ASCII only", "B-rtl8821 a-ath", 1);
    row("upper case last", "a-rt B-ath", 4);
    row("upper case between", "a-none B-rtl8821 c-ath", 3);
    row("digits before letters", "9-rt a-ath", 4);
}

void tst_WirelessHardware::theFirstKnownDriverDecides()
{
    QFETCH(QString, drivers);
    QFETCH(int, code);
    TDriverTree tree;
    tree.AddFolder(); // contains only "." and ".."
    for (const QString& driver : drivers.split(QLatin1Char(' '), Qt::SkipEmptyParts))
        tree.AddFolder(driver);
    QCOMPARE(tree.Hardware(), code);
}

void tst_WirelessHardware::filesCountLikeFolders()
{
    TDriverTree file;
    file.AddFile(QStringLiteral("rtl8192"));
    QCOMPARE(file.Hardware(), 2);

    // Files and folders are sorted together by name.
    TDriverTree fileFirst;
    fileFirst.AddFile(QStringLiteral("a-rtl8821"));
    fileFirst.AddFolder(QStringLiteral("b-ath"));
    QCOMPARE(fileFirst.Hardware(), 3);
    TDriverTree folderFirst;
    folderFirst.AddFolder(QStringLiteral("a-rtl8821"));
    folderFirst.AddFile(QStringLiteral("b-ath"));
    QCOMPARE(folderFirst.Hardware(), 3);
}

// sysfs has links here.
void tst_WirelessHardware::linksToDriversCount()
{
    TDriverTree tree;
    tree.AddFolder();
    QVERIFY(QDir().mkpath(tree.Device() + QStringLiteral("/bus")));
    QVERIFY(QFile::link(tree.Device() + QStringLiteral("/bus"),
                        tree.Drivers() + QStringLiteral("/pci:ath9k")));
    QCOMPARE(tree.Hardware(), 1);
}

void tst_WirelessHardware::hiddenEntriesDoNotCount()
{
    TDriverTree tree;
    tree.AddFile(QStringLiteral(".ath9k"));
    QCOMPARE(tree.Hardware(), 0);
    tree.AddFolder(QStringLiteral("rt2800"));
    QCOMPARE(tree.Hardware(), 4);
}

void tst_WirelessHardware::aFileIsNotADriverFolder()
{
    TDriverTree tree("ra7");
    QFile file(tree.Drivers());
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(tree.Hardware(), 5);
}

void tst_WirelessHardware::withoutADriverFolderTheNameDecides_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("code");
    QTest::newRow("ra at the start") << QStringLiteral("ra_none") << 5;
    QTest::newRow("only ra") << QStringLiteral("ra") << 5;
    QTest::newRow("ra inside") << QStringLiteral("xrax_none") << 5;
    QTest::newRow("no ra") << QStringLiteral("wlan_none") << 0;
    QTest::newRow("another case") << QStringLiteral("RA_Ra_rA") << 0;
    QTest::newRow("r and a apart") << QStringLiteral("r_a_none") << 0;
    QTest::newRow("a driver's name in the interface's name") << QStringLiteral("ath_rtl_none") << 0;
    QTest::newRow("no name") << QString() << 0;
    QTest::newRow("a place mark") << QStringLiteral("%1_none") << 0;
    QTest::newRow("a place mark and ra") << QStringLiteral("%1_ra") << 5;
}

void tst_WirelessHardware::withoutADriverFolderTheNameDecides()
{
    QFETCH(QString, name);
    QFETCH(int, code);
    QCOMPARE(TWirelessNetworkUtils::GetWirelessHardware(name), code);
}

void tst_WirelessHardware::withADriverFolderTheNameDoesNotCount()
{
    TDriverTree empty("ra7");
    empty.AddFolder();
    QVERIFY(empty.InterfaceName().contains(QLatin1String("ra")));
    QCOMPARE(empty.Hardware(), 0);
    TDriverTree unknown("ra7");
    unknown.AddFolder(QStringLiteral("mt7601u"));
    QCOMPARE(unknown.Hardware(), 0);
    TDriverTree known("ra7");
    known.AddFolder(QStringLiteral("rtl8821au"));
    QCOMPARE(known.Hardware(), 3);
    QCOMPARE(TDriverTree("ra7").Hardware(), 5);
}

void tst_WirelessHardware::anInterfaceOfTheSystemWithoutADriverIsUnknown()
{
    QCOMPARE(TWirelessNetworkUtils::GetWirelessHardware(QStringLiteral("lo")), 0);
}

KELVO_TEST_MAIN(tst_WirelessHardware)
#include "tst_WirelessHardware.moc"
