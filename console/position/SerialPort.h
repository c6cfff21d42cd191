// A serial port as the system has it.
#pragma once

#include <QtCore/QString>

namespace console {

bool IsBaudRate(int baud);
// All of them, for messages.
QString BaudRateNames();

// Opens a device for reading without blocking: 8 data bits, no parity, one stop bit, nothing
// interpreted, for nobody else besides. What came before is dropped. Returns the descriptor, which
// is the caller's; -1 if that fails, `errorText` says why.
int OpenSerialPort(const QString& path, int baud, QString& errorText);

} // namespace console
