#include "http/HttpDate.h"

#include <ctime>
#include <locale.h>
#include <string>

namespace kesdk::impl {

std::optional<std::int64_t> ParseHttpDate(std::string_view text)
{
    static_assert(sizeof(time_t) == 8, "dates after 2038, also on the 32-bit console");
    constexpr const char* kFormats[] = {"%a, %d %b %Y %T GMT", "%A, %d-%b-%y %T GMT",
                                        "%a %b %e %T %Y"};
    // tm_year counts from 1900; no date in this protocol is before 2000.
    constexpr int kYear2000 = 100;
    static const locale_t english = ::newlocale(LC_ALL_MASK, "C", nullptr);
    const std::string whole(text);
    for (const char* format : kFormats) {
        tm fields{};
        const char* end = ::strptime_l(whole.c_str(), format, &fields, english);
        if (!end || *end != '\0')
            continue;
        const bool hasShortYear = std::string_view(format).find("%y") != std::string_view::npos;
        if (hasShortYear && fields.tm_year < kYear2000)
            fields.tm_year += kYear2000;
        const std::int64_t seconds = ::timegm(&fields);
        return seconds >= 0 ? std::optional(seconds) : std::nullopt;
    }
    return std::nullopt;
}

} // namespace kesdk::impl
