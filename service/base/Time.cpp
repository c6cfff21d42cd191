// Times as text.
#include "service/base/Time.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace kelvo {

namespace {

std::tm utc(std::int64_t epochMs)
{
    const std::time_t seconds = static_cast<std::time_t>(epochMs / 1000);
    std::tm parts{};
    gmtime_r(&seconds, &parts);
    return parts;
}

} // namespace

std::string rfc3339(std::int64_t epochMs)
{
    const std::tm parts = utc(epochMs);
    std::array<char, 40> text{};
    const std::size_t used = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03dZ", static_cast<int>(epochMs % 1000));
    return std::string(text.data(), used) + fraction.data();
}

std::string httpDate(std::int64_t epochMs)
{
    // Not strftime's %a and %b: those follow the locale.
    static constexpr const char* days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::tm parts = utc(epochMs);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                  days[parts.tm_wday], parts.tm_mday, months[parts.tm_mon], parts.tm_year + 1900,
                  parts.tm_hour, parts.tm_min, parts.tm_sec);
    return text.data();
}

} // namespace kelvo
