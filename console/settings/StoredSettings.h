// What the operator sets up at the console, as it is kept from one run to the next.
#pragma once

#include <QtCore/QString>

class ConfigManager;

namespace console {

struct TStoredSettings
{
    // From the next start on.
    QString service;       // host[:port]; empty for the plug-in's own
    QString authorityFile; // certificates to trust besides the system's; may be empty
    QString dataFolder;    // absolute
    QString language;      // such as "pt_BR"; empty for English

    // At once.
    QString positionSource; // as `--gps` takes it; empty for none
    bool isDataExchangeAllowed = true;
    bool isNight = false;
    bool isFullScreen = false;
};

// The data folder, which holds the rest, is kept in a file of its own in the user's configuration
// folder.
TStoredSettings ReadStoredSettings(ConfigManager& config);
// On the disk when it returns. False if the data folder could not be kept.
bool WriteStoredSettings(ConfigManager& config, const TStoredSettings& settings);

// The data folder that was set up; `otherwise` if none was.
QString StoredDataFolder(const QString& otherwise);

// False if a value makes no sense; `errorText` says which, for the operator.
bool CheckStoredSettings(const TStoredSettings& settings, QString& errorText);

} // namespace console
