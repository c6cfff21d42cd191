#include "net/TWirelessNetworkUtils.h"

#include "net/WirelessName.h"

#include <QtCore/QDir>
#include <QtNetwork/QNetworkInterface>

const QString LOG_FILE_NAME = QStringLiteral("wpa_supplicant");
const QString LOG_FILE_EXTENSION = QStringLiteral(".log");
const QString LOG_FILE_PATH = QStringLiteral("/tmp/") + LOG_FILE_NAME + LOG_FILE_EXTENSION;

const std::int32_t CONNECTION_MONITOR_TIMEOUT = 5000;
const std::int32_t OBTAIN_NETWORK_ADDRESS_RETRYS = 30;
const std::int32_t COMPLETE_NETWORK_CONNECTION_RETRYS = 100;
const std::int32_t SCAN_RETRIES = 20;
const std::int32_t RECONNECTION_WAIT = 4;
const std::int32_t SIGNAL_LEVEL_MINIMUM = -192;
const std::int32_t WINDOWS_NETWORK_DEBUG = 2500;
const std::int32_t NETWORK_OPERATION_TIMEOUT = 250;

namespace {

struct TDriverFamily
{
    QLatin1String namePart;
    TWirelessNetworkUtils::EWirelessHardware hardware;
};

// The order matters: "rtl8821" contains "rtl", which contains "rt". The longest comes first.
const TDriverFamily DRIVER_FAMILIES[] = {
    {QLatin1String("ath"), TWirelessNetworkUtils::WirelessHardwareAth},
    {QLatin1String("rtl8821"), TWirelessNetworkUtils::WirelessHardwareRtl8821},
    {QLatin1String("rtl"), TWirelessNetworkUtils::WirelessHardwareRtl},
    {QLatin1String("rt"), TWirelessNetworkUtils::WirelessHardwareRt},
};

} // namespace

QString ChooseWirelessName(const QStringList& interfaceNames)
{
    for (const QString& name : interfaceNames) {
        if (name.contains(QLatin1String("p0s29f")) || name.contains(QLatin1String("ra"))) {
            return name;
        }
    }
    return QStringLiteral("wlan0");
}

QString TWirelessNetworkUtils::GetLogFile()
{
    return LOG_FILE_NAME + LOG_FILE_EXTENSION;
}

QString TWirelessNetworkUtils::GetLogFileName()
{
    return LOG_FILE_NAME;
}

QString TWirelessNetworkUtils::GetLogFileExtension()
{
    return LOG_FILE_EXTENSION;
}

QString TWirelessNetworkUtils::GetLogFilePath()
{
    return LOG_FILE_PATH;
}

QString TWirelessNetworkUtils::GetWirelessName()
{
    QStringList names;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface& candidate : interfaces) {
        names.append(candidate.name());
    }
    return ChooseWirelessName(names);
}

int TWirelessNetworkUtils::GetWirelessHardware(QString interfaceName)
{
    const QDir drivers(
        QStringLiteral("/sys/class/net/%1/device/driver/module/drivers/").arg(interfaceName));
    if (!drivers.exists()) {
        return interfaceName.contains(QLatin1String("ra")) ? WirelessHardwareRaInterface
                                                           : WirelessHardwareUnknown;
    }
    const QStringList entries = drivers.entryList(QDir::Dirs | QDir::Files | QDir::Drives);
    for (const QString& entry : entries) {
        for (const TDriverFamily& family : DRIVER_FAMILIES) {
            if (entry.contains(family.namePart)) {
                return family.hardware;
            }
        }
    }
    return WirelessHardwareUnknown;
}
