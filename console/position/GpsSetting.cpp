#include "console/position/GpsSetting.h"

#include "console/position/SerialPort.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

namespace {

// The settings page shows these texts to the operator.
struct TTexts
{
    Q_DECLARE_TR_FUNCTIONS(GpsSetting)
};

constexpr double maxSpeed = 1000.0;

bool Refuse(QString& errorText, const QString& text)
{
    errorText = QStringLiteral("--gps: ") + text;
    return false;
}

bool ParseGpsd(const QString& address, console::TGpsSetting& setting, QString& errorText)
{
    static const QRegularExpression form(
        QStringLiteral("^([A-Za-z0-9._-]+|\\[[0-9A-Fa-f:.]+\\])(?::([0-9]{1,5}))?$"));
    setting.kind = console::EGpsKind::eGpsd;
    const QRegularExpressionMatch match = form.match(address);
    const int port = match.captured(2).isEmpty() ? setting.port : match.captured(2).toInt();
    if (!match.hasMatch() || port < 1 || port > 65535) {
        return Refuse(errorText, TTexts::tr("\"%1\" is no HOST or HOST:PORT.").arg(address));
    }
    setting.host = match.captured(1);
    if (setting.host.startsWith(QLatin1Char('['))) {
        setting.host = setting.host.mid(1, setting.host.size() - 2);
    }
    setting.port = static_cast<std::uint16_t>(port);
    return true;
}

// Splits `text` at its last "@": sets `number` and returns the part before the "@". An "@" without
// a number after it belongs to the name.
QString TakeNumber(const QString& text, QString& number)
{
    static const QRegularExpression form(QStringLiteral("^(.*)@(-?[0-9]+(?:\\.[0-9]+)?)$"),
                                         QRegularExpression::DotMatchesEverythingOption);
    const QRegularExpressionMatch match = form.match(text);
    number = match.captured(2);
    return match.hasMatch() ? match.captured(1) : text;
}

bool ParseLog(const QString& text, console::TGpsSetting& setting, QString& errorText)
{
    QString number;
    const QFileInfo file(TakeNumber(text, number));
    setting.kind = console::EGpsKind::eLog;
    if (!number.isEmpty()) {
        setting.speed = number.toDouble();
    }
    if (setting.speed < 1.0 || setting.speed > maxSpeed) {
        return Refuse(
            errorText,
            TTexts::tr("the speed %1 is not from 1 (real time) to %2.").arg(number).arg(maxSpeed));
    }
    if (!file.isFile() || !file.isReadable()) {
        return Refuse(errorText, TTexts::tr("the log \"%1\" cannot be read.").arg(file.filePath()));
    }
    setting.path = file.absoluteFilePath();
    return true;
}

bool ParseSerial(const QString& text, console::TGpsSetting& setting, QString& errorText)
{
    QString number;
    const QString device = TakeNumber(text, number);
    setting.kind = console::EGpsKind::eSerial;
    if (!number.isEmpty()) {
        setting.baud = number.toInt();
    }
    if (device.isEmpty()) {
        return Refuse(errorText, TTexts::tr("serial wants a DEVICE."));
    }
    if (!console::IsBaudRate(setting.baud)) {
        return Refuse(
            errorText,
            TTexts::tr("%1 is no baud rate; there are %2.").arg(number, console::BaudRateNames()));
    }
    setting.path = QFileInfo(device).absoluteFilePath(); // the device may appear later
    return true;
}

} // namespace

namespace console {

bool ParseGpsSetting(const QString& text, TGpsSetting& setting, QString& errorText)
{
    setting = TGpsSetting();
    const int colon = text.indexOf(QLatin1Char(':'));
    const QString kind = text.left(colon); // without a colon: the whole text
    const QString rest = colon < 0 ? QString() : text.mid(colon + 1);
    if (kind == QLatin1String("gpsd")) {
        return ParseGpsd(colon < 0 ? setting.host : rest, setting, errorText);
    }
    if (kind == QLatin1String("nmea")) {
        return ParseLog(rest, setting, errorText);
    }
    if (kind == QLatin1String("serial")) {
        return ParseSerial(rest, setting, errorText);
    }
    return Refuse(errorText, TTexts::tr("\"%1\" is none of gpsd[:HOST[:PORT]], "
                                        "nmea:FILE[@SPEED], serial:DEVICE[@BAUD].")
                                 .arg(text));
}

QString ToText(const TGpsSetting& setting)
{
    const bool isIpv6 = setting.host.contains(QLatin1Char(':'));
    switch (setting.kind) {
    case EGpsKind::eNone:
        break;
    case EGpsKind::eGpsd:
        return (isIpv6 ? QStringLiteral("gpsd:[%1]:%2") : QStringLiteral("gpsd:%1:%2"))
            .arg(setting.host)
            .arg(setting.port);
    case EGpsKind::eLog:
        return QStringLiteral("nmea:%1@%2").arg(setting.path).arg(setting.speed);
    case EGpsKind::eSerial:
        return QStringLiteral("serial:%1@%2").arg(setting.path).arg(setting.baud);
    }
    return {};
}

} // namespace console
