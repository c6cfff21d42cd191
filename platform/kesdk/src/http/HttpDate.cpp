#include "http/HttpDate.h"

#include "base/Clock.h"
#include "base/Text.h"

#include <array>

namespace kesdk::impl {

namespace {

constexpr std::string_view kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";

struct Fields
{
    std::int64_t year = -1;
    int month = -1; // from 0
    std::int64_t day = -1;
    std::int64_t second = -1; // of the day
};

std::int64_t ToNumber(std::string_view text)
{
    return ToInteger(text).value_or(-1);
}

// "08:49:37"
std::int64_t SecondOfDay(std::string_view text)
{
    if (text.size() != 8 || text[2] != ':' || text[5] != ':')
        return -1;
    const std::int64_t hour = ToNumber(text.substr(0, 2));
    const std::int64_t minute = ToNumber(text.substr(3, 2));
    const std::int64_t second = ToNumber(text.substr(6, 2));
    const bool isTime = hour >= 0 && hour < 24 && minute >= 0 && minute < 60 && second >= 0 &&
                        second <= 60; // a leap second
    return isTime ? (hour * 60 + minute) * 60 + second : -1;
}

// In each form the day comes before the year.
void TakeNumber(std::string_view word, Fields& fields)
{
    const std::int64_t number = ToNumber(word);
    if (word.find(':') != std::string_view::npos) {
        fields.second = SecondOfDay(word);
    } else if (fields.day < 0) {
        fields.day = number;
    } else if (fields.year < 0) {
        constexpr int kCentury = 2000; // no date in this protocol is older
        fields.year = word.size() == 2 ? kCentury + number : number;
    }
}

void TakeWord(std::string_view word, Fields& fields)
{
    if (word.front() >= '0' && word.front() <= '9') {
        TakeNumber(word, fields);
    } else if (word.size() == 3) {
        const std::size_t at = kMonths.find(word);
        if (at != std::string_view::npos && at % 3 == 0)
            fields.month = static_cast<int>(at / 3);
    }
}

// Days since 1970-01-01 in the Gregorian calendar.
std::int64_t DaysOf(const Fields& fields)
{
    constexpr std::array<int, 12> kDaysBefore{0,   31,  59,  90,  120, 151,
                                              181, 212, 243, 273, 304, 334};
    const auto leapsUpTo = [](std::int64_t year) { return year / 4 - year / 100 + year / 400; };
    const std::int64_t year = fields.year;
    const bool isLeap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return (year - 1970) * 365 + leapsUpTo(year - 1) - leapsUpTo(1969) +
           kDaysBefore[static_cast<std::size_t>(fields.month)] +
           (isLeap && fields.month > 1 ? 1 : 0) + fields.day - 1;
}

} // namespace

std::optional<std::int64_t> ParseHttpDate(std::string_view text)
{
    constexpr std::string_view kBetween = " ,-";
    Fields fields;
    while (!text.empty()) {
        const std::size_t end = text.find_first_of(kBetween);
        if (end != 0)
            TakeWord(text.substr(0, end), fields);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
    const bool isDate = fields.year >= 1970 && fields.year <= 9999 && fields.month >= 0 &&
                        fields.day >= 1 && fields.day <= 31 && fields.second >= 0;
    if (!isDate)
        return std::nullopt;
    return DaysOf(fields) * kDayS + fields.second;
}

} // namespace kesdk::impl
