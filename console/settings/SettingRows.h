// The rows of the settings page.
#pragma once

#include "console/settings/StoredSettings.h"

#include <QtCore/QtGlobal>

#include <array>

class TPropertyWidget;

namespace console {

struct TTextRow
{
    const char* iconName;
    const char* name;
    const char* hint;
    const char* whenEmpty;
    QString TStoredSettings::*value;
};

inline constexpr std::array<TTextRow, 4> textRows = {{
    {"link-up", QT_TRANSLATE_NOOP("console::TSettingsPage", "Service"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Host and port; empty for the usual one"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "The usual one"), &TStoredSettings::service},
    {"lock", QT_TRANSLATE_NOOP("console::TSettingsPage", "Service's certificate"),
     QT_TRANSLATE_NOOP("console::TSettingsPage",
                       "A file with the authority to trust besides the system's"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Only the system's"),
     &TStoredSettings::authorityFile},
    {"gps-fix", QT_TRANSLATE_NOOP("console::TSettingsPage", "Position source"),
     QT_TRANSLATE_NOOP("console::TSettingsPage",
                       "gpsd:HOST:PORT, serial:DEVICE@BAUD or nmea:FILE; empty for none"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "None"), &TStoredSettings::positionSource},
    {"save", QT_TRANSLATE_NOOP("console::TSettingsPage", "Data folder"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Folder of the received files"), "",
     &TStoredSettings::dataFolder},
}};

struct TFlagRow
{
    const char* iconName;
    const char* name;
    const char* off;
    const char* on;
    bool TStoredSettings::*value;
    bool isAtOnce; // not only after Save
    bool isForInstaller;
};

inline constexpr std::array<TFlagRow, 4> flagRows = {{
    {"moon", QT_TRANSLATE_NOOP("console::TSettingsPage", "Colours"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Day"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Night"), &TStoredSettings::isNight, true, false},
    {"user", QT_TRANSLATE_NOOP("console::TSettingsPage", "User level"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Driver: no data exchange"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Operator: everything"),
     &TStoredSettings::isDataExchangeAllowed, false, true},
    {"Select", QT_TRANSLATE_NOOP("console::TSettingsPage", "Screen"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Window"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Full screen"), &TStoredSettings::isFullScreen,
     true, false},
    {"search", QT_TRANSLATE_NOOP("console::TSettingsPage", "Text size"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Normal"),
     QT_TRANSLATE_NOOP("console::TSettingsPage", "Large"), &TStoredSettings::isTextLarge, true,
     false},
}};

inline constexpr int languageRow = int(textRows.size());
inline constexpr int firstFlagRow = languageRow + 1;

TPropertyWidget* MakeRow(const char* iconName, const QString& name);

} // namespace console
