// The source of positions, as the option --gps gives it.
#pragma once

#include <QtCore/QString>

#include <cstdint>

namespace console {

enum class EGpsKind : std::uint8_t { eNone, eGpsd, eLog, eSerial };

struct TGpsSetting
{
    EGpsKind kind = EGpsKind::eNone;
    QString host = QStringLiteral("localhost"); // the host of gpsd
    std::uint16_t port = 2947;
    QString path; // the log or the device; absolute
    double speed = 1.0;
    // The rate of NMEA 0183. "@BAUD" sets another rate; receivers at USB ignore the rate.
    int baud = 4800;
};

// Reads "gpsd[:HOST[:PORT]]", "nmea:FILE[@SPEED]" or "serial:DEVICE[@BAUD]". False if `text` has
// another form or the log cannot be read; `errorText` holds the reason.
bool ParseGpsSetting(const QString& text, TGpsSetting& setting, QString& errorText);

// The setting in full, in the form that ParseGpsSetting() reads; empty for no source.
QString ToText(const TGpsSetting& setting);

} // namespace console
