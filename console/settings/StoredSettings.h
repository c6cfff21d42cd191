// The settings that the operator changes on the console and that stay on the disk.
#pragma once

#include <QtCore/QString>

class ConfigManager;

namespace hostimpl {
class TConfigStore;
}

namespace console {

struct TStoredSettings
{
    // These take effect at the next start.
    QString service;       // host[:port]; empty: the plug-in's default
    QString authorityFile; // further trusted certificates; may be empty
    QString dataFolder;    // absolute
    QString language;      // such as "pt_BR"; empty for English

    // These take effect at once.
    QString pin; // 4 to 8 digits, which the installer's settings ask for; empty: they are open
    QString positionSource; // in the form of --gps; empty: no source
    bool isDataExchangeAllowed = true;
    bool isNight = false;
    bool isFullScreen = false;
    bool isTextLarge = false;

    bool operator==(const TStoredSettings& other) const;
};

// A text among the settings.
using TTextSetting = QString TStoredSettings::*;

// The data folder holds the other settings. The path of the data folder is in a separate file in
// the user's configuration folder.
TStoredSettings ReadStoredSettings(ConfigManager& config);

// Why settings are not on the disk, for the operator; empty if they are.
struct TStoreFaults
{
    QString settings;   // all settings but the data folder; they are lost when the process ends
    QString dataFolder; // the former path is still stored

    QString Text() const;
};
// Returns after the last attempt to write. The next call tries again.
TStoreFaults WriteStoredSettings(hostimpl::TConfigStore& store, const TStoredSettings& settings);

// The stored path of the data folder, or `otherwise` if there is none.
QString StoredDataFolder(const QString& otherwise);

// Why this setting is invalid, for the operator; empty if it is valid. A setting without rules is
// valid.
QString FaultOf(const TStoredSettings& settings, QString TStoredSettings::*setting);

// False if a value is invalid; `errorText` is the first fault.
bool CheckStoredSettings(const TStoredSettings& settings, QString& errorText);

} // namespace console
