// Compressed answers.
#pragma once

#include <string>
#include <string_view>

namespace kelvo::api {

/** Whether an Accept-Encoding header accepts gzip. */
bool acceptsGzip(std::string_view header);

/** Optimises for speed, not for size. Throws std::runtime_error. */
std::string gzip(std::string_view text);

} // namespace kelvo::api
