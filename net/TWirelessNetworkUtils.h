// The console's wireless network adapter, as the operating system reports it.
#pragma once

#include <QtCore/QString>

#include <cstdint>

// The constants are exported for the host; the plug-in itself does not read them. Their names,
// misspelt plurals included, are part of the contract.
#define KELVO_NET_EXPORT __attribute__((visibility("default")))

KELVO_NET_EXPORT extern const QString LOG_FILE_NAME;
KELVO_NET_EXPORT extern const QString LOG_FILE_EXTENSION;
KELVO_NET_EXPORT extern const QString LOG_FILE_PATH;

KELVO_NET_EXPORT extern const std::int32_t CONNECTION_MONITOR_TIMEOUT;
KELVO_NET_EXPORT extern const std::int32_t OBTAIN_NETWORK_ADDRESS_RETRYS;
KELVO_NET_EXPORT extern const std::int32_t COMPLETE_NETWORK_CONNECTION_RETRYS;
KELVO_NET_EXPORT extern const std::int32_t SCAN_RETRIES;
KELVO_NET_EXPORT extern const std::int32_t RECONNECTION_WAIT;
KELVO_NET_EXPORT extern const std::int32_t SIGNAL_LEVEL_MINIMUM;
KELVO_NET_EXPORT extern const std::int32_t WINDOWS_NETWORK_DEBUG;
KELVO_NET_EXPORT extern const std::int32_t NETWORK_OPERATION_TIMEOUT;

// Static functions without state. Thread safety: safe. Errors: none; each function has a fallback
// value.
class TWirelessNetworkUtils
{
public:
    enum EWirelessHardware : int {
        WirelessHardwareUnknown = 0,
        WirelessHardwareAth = 1,
        WirelessHardwareRtl = 2,
        WirelessHardwareRtl8821 = 3,
        WirelessHardwareRt = 4,
        WirelessHardwareRaInterface = 5, // no driver folder, but an interface name with "ra"
    };

    TWirelessNetworkUtils() = delete;

    // The log file of the system's wireless supplicant.
    static QString GetLogFile();
    static QString GetLogFileName();
    static QString GetLogFileExtension();
    static QString GetLogFilePath();

    // The name of the wireless interface, or "wlan0" if no name is recognised.
    static QString GetWirelessName();
    // The family of the interface's driver, an EWirelessHardware. Reads sysfs.
    static int GetWirelessHardware(QString interfaceName);
};
