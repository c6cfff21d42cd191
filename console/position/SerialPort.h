// Opens serial ports.
#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace console {

bool IsBaudRate(int baud);
// All rates, for messages.
QString BaudRateNames();

// The devices of the ports that exist now, by name. A USB device has its name of /dev/serial/by-id,
// which stays the same at another socket. `classFolder` holds the kernel's list of terminals,
// `namesFolder` the lasting names.
QStringList SerialPorts(const QString& classFolder = QStringLiteral("/sys/class/tty"),
                        const QString& namesFolder = QStringLiteral("/dev/serial/by-id"));

// Opens a device for reading without blocking: 8 data bits, no parity, one stop bit, raw bytes, for
// this process only. Drops bytes that came earlier. Returns the descriptor, which the caller owns.
// On a failure it returns -1 and `errorText` holds the reason.
int OpenSerialPort(const QString& path, int baud, QString& errorText);

} // namespace console
