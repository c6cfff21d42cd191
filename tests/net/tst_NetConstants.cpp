// The constants that the host reads, and the names of the supplicant's log file.
#include "support/TestMain.h"

#include "net/TWirelessNetworkUtils.h"

#include <QtTest/QtTest>

#include <type_traits>

class tst_NetConstants : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void theLogFileNamesAreFixed();
    void theLogFileNamesAreReturnedAsCopies();
    void theNumbersAreFixed_data();
    void theNumbersAreFixed();
    void theHardwareCodesAreFixed();
};

void tst_NetConstants::theLogFileNamesAreFixed()
{
    QCOMPARE(LOG_FILE_NAME, QStringLiteral("wpa_supplicant"));
    QCOMPARE(LOG_FILE_EXTENSION, QStringLiteral(".log"));
    QCOMPARE(LOG_FILE_PATH, QStringLiteral("/tmp/wpa_supplicant.log"));
    QCOMPARE(TWirelessNetworkUtils::GetLogFile(), QStringLiteral("wpa_supplicant.log"));
    QCOMPARE(TWirelessNetworkUtils::GetLogFileName(), QStringLiteral("wpa_supplicant"));
    QCOMPARE(TWirelessNetworkUtils::GetLogFileExtension(), QStringLiteral(".log"));
    QCOMPARE(TWirelessNetworkUtils::GetLogFilePath(), QStringLiteral("/tmp/wpa_supplicant.log"));
}

// A change of a returned copy does not change the constant.
void tst_NetConstants::theLogFileNamesAreReturnedAsCopies()
{
    QString name = TWirelessNetworkUtils::GetLogFileName();
    name.clear();
    QString path = TWirelessNetworkUtils::GetLogFilePath();
    path.append(QLatin1Char('x'));
    QCOMPARE(TWirelessNetworkUtils::GetLogFileName(), QStringLiteral("wpa_supplicant"));
    QCOMPARE(TWirelessNetworkUtils::GetLogFilePath(), QStringLiteral("/tmp/wpa_supplicant.log"));
}

void tst_NetConstants::theNumbersAreFixed_data()
{
    QTest::addColumn<qint32>("constant");
    QTest::addColumn<qint32>("value");
    const auto row = [](const char* name, const std::int32_t& constant, int value) {
        QTest::newRow(name) << qint32(constant) << qint32(value);
    };
    row("CONNECTION_MONITOR_TIMEOUT", CONNECTION_MONITOR_TIMEOUT, 5000);
    row("OBTAIN_NETWORK_ADDRESS_RETRYS", OBTAIN_NETWORK_ADDRESS_RETRYS, 30);
    row("COMPLETE_NETWORK_CONNECTION_RETRYS", COMPLETE_NETWORK_CONNECTION_RETRYS, 100);
    row("SCAN_RETRIES", SCAN_RETRIES, 20);
    row("RECONNECTION_WAIT", RECONNECTION_WAIT, 4);
    row("SIGNAL_LEVEL_MINIMUM", SIGNAL_LEVEL_MINIMUM, -192);
    row("WINDOWS_NETWORK_DEBUG", WINDOWS_NETWORK_DEBUG, 2500);
    row("NETWORK_OPERATION_TIMEOUT", NETWORK_OPERATION_TIMEOUT, 250);
}

void tst_NetConstants::theNumbersAreFixed()
{
    QFETCH(qint32, constant);
    QFETCH(qint32, value);
    QCOMPARE(constant, value);
}

void tst_NetConstants::theHardwareCodesAreFixed()
{
    QCOMPARE(int(TWirelessNetworkUtils::WirelessHardwareUnknown), 0);
    QCOMPARE(int(TWirelessNetworkUtils::WirelessHardwareAth), 1);
    QCOMPARE(int(TWirelessNetworkUtils::WirelessHardwareRtl), 2);
    QCOMPARE(int(TWirelessNetworkUtils::WirelessHardwareRtl8821), 3);
    QCOMPARE(int(TWirelessNetworkUtils::WirelessHardwareRt), 4);
    QCOMPARE(int(TWirelessNetworkUtils::WirelessHardwareRaInterface), 5);
    static_assert(!std::is_default_constructible_v<TWirelessNetworkUtils>);
}

KELVO_TEST_MAIN(tst_NetConstants)
#include "tst_NetConstants.moc"
