// Opens serial ports.
#pragma once

#include <QtCore/QString>

namespace console {

bool IsBaudRate(int baud);
// All rates, for messages.
QString BaudRateNames();

// Opens a device for reading without blocking: 8 data bits, no parity, one stop bit, raw bytes, for
// this process only. Drops bytes that came earlier. Returns the descriptor, which the caller owns.
// On a failure it returns -1 and `errorText` holds the reason.
int OpenSerialPort(const QString& path, int baud, QString& errorText);

} // namespace console
