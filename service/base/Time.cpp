// Times as text.
#include "service/base/Time.h"

#include "service/base/Encoding.h"

#include <algorithm>
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

std::optional<std::int64_t> parseRfc3339(std::string_view text)
{
    constexpr std::size_t secondsEnd = 19;
    if (text.size() <= secondsEnd || text.back() != 'Z') {
        return std::nullopt;
    }
    const std::string whole(text.substr(0, secondsEnd));
    std::tm parts{};
    const char* end = ::strptime(whole.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
    if (end == nullptr || *end != '\0') {
        return std::nullopt;
    }
    const std::int64_t epochMs = static_cast<std::int64_t>(::timegm(&parts)) * 1000;
    // Only what would be written so is a time: no blanks, no 30th of February.
    if (epochMs < 0 || rfc3339(epochMs).substr(0, secondsEnd) != whole) {
        return std::nullopt;
    }
    const std::string_view fraction = text.substr(secondsEnd, text.size() - secondsEnd - 1);
    if (fraction.empty()) {
        return epochMs;
    }
    std::string digits(fraction.substr(1));
    digits.resize(std::max<std::size_t>(digits.size(), 3), '0');
    if (fraction.size() < 2 || fraction.front() != '.' ||
        digits.find_first_not_of("0123456789") != std::string::npos) {
        return std::nullopt;
    }
    return epochMs + static_cast<std::int64_t>(*parseNumber(digits.substr(0, 3)));
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
