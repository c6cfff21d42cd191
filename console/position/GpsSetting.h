// Where positions come from, as `--gps` says it.
#pragma once

#include <QtCore/QString>

#include <cstdint>

namespace console {

enum class EGpsKind : std::uint8_t { eNone, eGpsd, eLog, eSerial };

struct TGpsSetting
{
    EGpsKind kind = EGpsKind::eNone;
    QString host = QStringLiteral("localhost"); // of gpsd
    std::uint16_t port = 2947;
    QString path; // of the log or the device; absolute
    double speed = 1.0;
    // What NMEA 0183 says. Receivers that are faster are told by "@BAUD"; those on USB do not care.
    int baud = 4800;
};

// Reads "gpsd[:HOST[:PORT]]", "nmea:FILE[@SPEED]" or "serial:DEVICE[@BAUD]". False if it is none of
// them or the log cannot be read; `errorText` says what is wrong.
bool ParseGpsSetting(const QString& text, TGpsSetting& setting, QString& errorText);

} // namespace console
