// Times as text: RFC 3339 for JSON, the HTTP form for headers. Valid from 1970 to the end of the
// year 9999.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kelvo {

/** "2024-05-01T10:20:30.123Z" */
std::string rfc3339(std::int64_t epochMs);

/** The same form in UTC; the fraction is optional. Empty for any other text. */
std::optional<std::int64_t> parseRfc3339(std::string_view text);

/** "Wed, 01 May 2024 10:20:30 GMT" */
std::string httpDate(std::int64_t epochMs);

} // namespace kelvo
