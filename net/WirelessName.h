// Which of a list of network interfaces is the wireless one.
#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

// The first name that contains "p0s29f" or "ra", anywhere; "wlan0" if there is none.
QString ChooseWirelessName(const QStringList& interfaceNames);
