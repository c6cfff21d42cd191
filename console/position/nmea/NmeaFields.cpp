#include "console/position/nmea/NmeaFields.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

using console::EFixQuality;

constexpr std::size_t maxFractionDigits = 9;
constexpr std::size_t maxWholeDigits = 6;

// Digits, then optionally a point and more digits.
struct TNumber
{
    std::int64_t whole = 0;
    double fraction = 0.0;
    int fractionMs = 0; // the first three digits of the fraction
};

std::optional<std::int64_t> ReadDigits(std::string_view text)
{
    std::int64_t value = 0;
    for (const char digit : text) {
        if (digit < '0' || digit > '9') {
            return std::nullopt;
        }
        value = value * 10 + (digit - '0');
    }
    return value;
}

std::optional<TNumber> ReadNumber(std::string_view field, std::size_t wholeDigits)
{
    if (field.size() < wholeDigits) {
        return std::nullopt;
    }
    const auto whole = ReadDigits(field.substr(0, wholeDigits));
    std::string_view rest = field.substr(wholeDigits);
    if (!whole || (!rest.empty() && rest.front() != '.') || rest.size() > maxFractionDigits + 1) {
        return std::nullopt;
    }
    TNumber number;
    number.whole = *whole;
    if (rest.empty()) {
        return number;
    }
    rest.remove_prefix(1);
    const auto digits = ReadDigits(rest);
    if (!digits) {
        return std::nullopt;
    }
    double scale = 1.0;
    int weightMs = 100;
    for (const char digit : rest) {
        scale *= 10.0; // exact for the number of digits that is allowed
        number.fractionMs += (digit - '0') * weightMs;
        weightMs /= 10;
    }
    number.fraction = static_cast<double>(*digits) / scale;
    return number;
}

std::optional<double> ReadAngle(std::string_view field, std::size_t degreeDigits, int maxDegrees)
{
    const auto number = ReadNumber(field, degreeDigits + 2);
    if (!number || number->whole % 100 >= 60) {
        return std::nullopt;
    }
    const auto wholeDegrees = number->whole / 100;
    const double minutes = static_cast<double>(number->whole % 100) + number->fraction;
    const double degrees = static_cast<double>(wholeDegrees) + minutes / 60.0;
    return degrees <= maxDegrees ? std::optional(degrees) : std::nullopt;
}

std::optional<double> Signed(std::optional<double> degrees, std::string_view hemisphere,
                             char positive, char negative)
{
    if (!degrees || hemisphere.size() != 1 ||
        (hemisphere.front() != positive && hemisphere.front() != negative)) {
        return std::nullopt;
    }
    return hemisphere.front() == positive ? *degrees : -*degrees;
}

struct TModeRow
{
    char letter;
    EFixQuality quality;
};

// From the best to the worst.
constexpr std::array<TModeRow, 9> modeTable = {{
    {'R', EFixQuality::eRtkFixed},
    {'F', EFixQuality::eRtkFloat},
    {'P', EFixQuality::ePrecise},
    {'D', EFixQuality::eDifferential},
    {'A', EFixQuality::eAutonomous},
    {'E', EFixQuality::eDeadReckoning},
    {'M', EFixQuality::eManual},
    {'S', EFixQuality::eSimulated},
    {'N', EFixQuality::eNone},
}};

} // namespace

namespace console {

std::optional<TTimeOfDay> ReadTimeOfDay(std::string_view field)
{
    const auto number = ReadNumber(field, 6);
    if (!number) {
        return std::nullopt;
    }
    const std::int64_t hours = number->whole / 10000;
    const std::int64_t minutes = number->whole / 100 % 100;
    const std::int64_t seconds = number->whole % 100;
    if (hours >= 24 || minutes >= 60 || seconds > 60) {
        return std::nullopt;
    }
    return TTimeOfDay{static_cast<double>(number->whole) + number->fraction,
                      ((hours * 60 + minutes) * 60 + seconds) * 1000 + number->fractionMs};
}

std::optional<double> ReadLatitude(std::string_view field, std::string_view hemisphere)
{
    return Signed(ReadAngle(field, 2, 90), hemisphere, 'N', 'S');
}

std::optional<double> ReadLongitude(std::string_view field, std::string_view hemisphere)
{
    return Signed(ReadAngle(field, 3, 180), hemisphere, 'E', 'W');
}

std::optional<double> ReadDecimal(std::string_view field)
{
    const std::size_t digits = std::min(field.find('.'), field.size());
    const auto number =
        digits == 0 || digits > maxWholeDigits ? std::nullopt : ReadNumber(field, digits);
    return number ? std::optional(static_cast<double>(number->whole) + number->fraction)
                  : std::nullopt;
}

std::optional<EFixQuality> ReadQuality(std::string_view field)
{
    if (field.size() != 1 || field.front() < '0' || field.front() > '8') {
        return std::nullopt;
    }
    return static_cast<EFixQuality>(field.front() - '0');
}

std::optional<EFixQuality> ReadMode(std::string_view field)
{
    std::size_t best = modeTable.size();
    for (const char letter : field) {
        std::size_t row = 0;
        while (row < modeTable.size() && modeTable[row].letter != letter) {
            ++row;
        }
        if (row == modeTable.size()) {
            return std::nullopt;
        }
        best = row < best ? row : best;
    }
    return best < modeTable.size() ? std::optional(modeTable[best].quality) : std::nullopt;
}

} // namespace console
