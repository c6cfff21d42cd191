// The values in the fields of an NMEA sentence.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace console {

// The quality of a fix, as the receiver reports it. The values are the values of a GGA sentence.
enum class EFixQuality : std::uint8_t {
    eNone = 0,
    eAutonomous = 1,
    eDifferential = 2,
    ePrecise = 3,
    eRtkFixed = 4,
    eRtkFloat = 5,
    eDeadReckoning = 6,
    eManual = 7,
    eSimulated = 8,
};

// A time of day, UTC. The second may be 60, a leap second.
struct TTimeOfDay
{
    double hhmmss = 0.0; // in the form of receivers: 93015.25 is 09:30:15.25
    std::int64_t sinceMidnightMs = 0;
};

// All functions return nothing if the field differs from the standard's form: a lenient reader
// would take a damaged field for a wrong position.

// "hhmmss" with or without a fraction.
std::optional<TTimeOfDay> ReadTimeOfDay(std::string_view field);
// "ddmm.mmm" with "N" or "S", in degrees, south negative.
std::optional<double> ReadLatitude(std::string_view field, std::string_view hemisphere);
// "dddmm.mmm" with "E" or "W", in degrees, west negative.
std::optional<double> ReadLongitude(std::string_view field, std::string_view hemisphere);
// Digits with or without a fraction, at most 6 before the point.
std::optional<double> ReadDecimal(std::string_view field);
// The quality of a GGA sentence.
std::optional<EFixQuality> ReadQuality(std::string_view field);
// A mode indicator with one letter for each satellite system: the best letter counts.
std::optional<EFixQuality> ReadMode(std::string_view field);

} // namespace console
