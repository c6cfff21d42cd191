// Picks the wireless interface from a list of network interfaces.
#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

// Returns the first name that contains "p0s29f" or "ra", or "wlan0" if no name does.
QString ChooseWirelessName(const QStringList& interfaceNames);
