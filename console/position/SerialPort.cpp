#include "console/position/SerialPort.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QMap>

#include <array>
#include <cerrno>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace {

struct TBaudRow
{
    int baud;
    speed_t speed;
};

constexpr std::array<TBaudRow, 10> baudTable = {{
    {1200, B1200},
    {2400, B2400},
    {4800, B4800},
    {9600, B9600},
    {19200, B19200},
    {38400, B38400},
    {57600, B57600},
    {115200, B115200},
    {230400, B230400},
    {460800, B460800},
}};

const TBaudRow* FindBaud(int baud)
{
    for (const TBaudRow& row : baudTable) {
        if (row.baud == baud) {
            return &row;
        }
    }
    return nullptr;
}

bool SetUp(int descriptor, speed_t speed)
{
    termios settings = {};
    if (::tcgetattr(descriptor, &settings) != 0) {
        return false;
    }
    ::cfmakeraw(&settings);
    settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | CRTSCTS);
    settings.c_cflag |= CLOCAL | CREAD; // receivers have no modem lines
    ::cfsetispeed(&settings, speed);
    ::cfsetospeed(&settings, speed);
    return ::tcsetattr(descriptor, TCSANOW, &settings) == 0;
}

// The kernel also lists ports without hardware. They have the type 0.
bool HasHardware(const QString& terminal)
{
    QFile type(terminal + QStringLiteral("/type"));
    return QFile::exists(terminal + QStringLiteral("/device")) &&
           !(type.open(QIODevice::ReadOnly) && type.readAll().trimmed() == "0");
}

} // namespace

namespace console {

bool IsBaudRate(int baud)
{
    return FindBaud(baud) != nullptr;
}

QString BaudRateNames()
{
    QStringList names;
    for (const TBaudRow& row : baudTable) {
        names << QString::number(row.baud);
    }
    return names.join(QStringLiteral(", "));
}

int OpenSerialPort(const QString& path, int baud, QString& errorText)
{
    const TBaudRow* const row = FindBaud(baud);
    if (row == nullptr) {
        errorText = QStringLiteral("%1 is no baud rate").arg(baud);
        return -1;
    }
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        errorText = qt_error_string(errno);
        return -1;
    }
    if (!SetUp(descriptor, row->speed)) {
        errorText = errno == ENOTTY ? QStringLiteral("no serial port") : qt_error_string(errno);
        ::close(descriptor);
        return -1;
    }
    ::ioctl(descriptor,
            TIOCEXCL); // two readers would each get parts of the sentences; a failure does no harm
    ::tcflush(descriptor, TCIFLUSH);
    return descriptor;
}

QStringList SerialPorts(const QString& classFolder, const QString& namesFolder)
{
    QMap<QString, QString> lasting; // by the terminal's name
    const QFileInfoList names = QDir(namesFolder).entryInfoList(QDir::System | QDir::Files);
    for (const QFileInfo& name : names) {
        lasting.insert(QFileInfo(name.symLinkTarget()).fileName(), name.filePath());
    }
    QStringList ports;
    const QStringList terminals =
        QDir(classFolder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    for (const QString& terminal : terminals) {
        if (HasHardware(classFolder + QLatin1Char('/') + terminal)) {
            ports << lasting.value(terminal, QStringLiteral("/dev/") + terminal);
        }
    }
    return ports;
}

} // namespace console
