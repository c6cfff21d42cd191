// Times as text: RFC 3339 for JSON, the HTTP form for headers.
#pragma once

#include <cstdint>
#include <string>

namespace kelvo {

/** "2024-05-01T10:20:30.123Z" */
std::string rfc3339(std::int64_t epochMs);

/** "Wed, 01 May 2024 10:20:30 GMT" */
std::string httpDate(std::int64_t epochMs);

} // namespace kelvo
