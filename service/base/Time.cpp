// The calendar of <chrono> is used: on some machines the C library's time_t has 32 bits and ends in
// 2038.
#include "service/base/Time.h"

#include "service/base/Encoding.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>

namespace kelvo {

namespace {

using std::chrono::milliseconds;

struct CalendarTime
{
    std::chrono::sys_days day;
    std::chrono::year_month_day date;
    std::chrono::hh_mm_ss<milliseconds> time;
};

CalendarTime utc(std::int64_t epochMs)
{
    const std::chrono::sys_time<milliseconds> moment{milliseconds(epochMs)};
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    return {day, day, std::chrono::hh_mm_ss<milliseconds>(moment - day)};
}

int number(std::chrono::month month)
{
    return static_cast<int>(static_cast<unsigned>(month));
}

int number(std::chrono::day day)
{
    return static_cast<int>(static_cast<unsigned>(day));
}

/**
 * Whether the text has the form "YYYY-MM-DDThh:mm:ss" with digits. The date itself is not checked.
 */
bool looksLikeTime(std::string_view text)
{
    constexpr std::string_view form = "0000-00-00T00:00:00";
    return text.size() == form.size() &&
           std::equal(text.begin(), text.end(), form.begin(), [](char given, char wanted) {
               return wanted == '0' ? given >= '0' && given <= '9' : given == wanted;
           });
}

/** Expects a text that looksLikeTime(). Empty if the date or the time does not exist. */
std::optional<std::int64_t> secondsOf(std::string_view text)
{
    const auto field = [text](std::size_t at, std::size_t digits) {
        return static_cast<int>(*parseNumber(text.substr(at, digits)));
    };
    const std::chrono::year_month_day date{std::chrono::year(field(0, 4)),
                                           std::chrono::month(static_cast<unsigned>(field(5, 2))),
                                           std::chrono::day(static_cast<unsigned>(field(8, 2)))};
    const int hour = field(11, 2);
    const int minute = field(14, 2);
    const int second = field(17, 2);
    if (!date.ok() || hour > 23 || minute > 59 || second > 59) {
        return std::nullopt;
    }
    const std::int64_t days = std::chrono::sys_days(date).time_since_epoch().count();
    return ((days * 24 + hour) * 60 + minute) * 60 + second;
}

} // namespace

std::string rfc3339(std::int64_t epochMs)
{
    struct Field
    {
        std::size_t last; // the place of the last digit
        int digits;
        int value;
    };
    const CalendarTime moment = utc(epochMs);
    const Field fields[] = {
        {3, 4, static_cast<int>(moment.date.year())},
        {6, 2, number(moment.date.month())},
        {9, 2, number(moment.date.day())},
        {12, 2, static_cast<int>(moment.time.hours().count())},
        {15, 2, static_cast<int>(moment.time.minutes().count())},
        {18, 2, static_cast<int>(moment.time.seconds().count())},
        {22, 3, static_cast<int>(moment.time.subseconds().count())},
    };
    std::string text = "0000-00-00T00:00:00.000Z";
    for (Field field : fields) { // a list has thousands of times, and snprintf is slower
        for (; field.digits > 0; --field.digits, field.value /= 10) {
            text[field.last--] = static_cast<char>('0' + field.value % 10);
        }
    }
    return text;
}

std::optional<std::int64_t> parseRfc3339(std::string_view text)
{
    constexpr std::size_t secondsEnd = 19;
    if (text.size() <= secondsEnd || text.back() != 'Z' ||
        !looksLikeTime(text.substr(0, secondsEnd))) {
        return std::nullopt;
    }
    const std::optional<std::int64_t> seconds = secondsOf(text);
    if (!seconds || *seconds < 0) {
        return std::nullopt;
    }
    const std::int64_t epochMs = *seconds * 1000;
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
    // strftime's %a and %b are not used: they follow the locale.
    static constexpr const char* days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static constexpr const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const CalendarTime moment = utc(epochMs);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                  days[std::chrono::weekday(moment.day).c_encoding()], number(moment.date.day()),
                  months[number(moment.date.month()) - 1], static_cast<int>(moment.date.year()),
                  static_cast<int>(moment.time.hours().count()),
                  static_cast<int>(moment.time.minutes().count()),
                  static_cast<int>(moment.time.seconds().count()));
    return text.data();
}

} // namespace kelvo
