// Compressed replies.
#pragma once

#include <string>
#include <string_view>

namespace kelvo::api {

/** Whether an Accept-Encoding header takes gzip. */
bool acceptsGzip(std::string_view header);

/** Fast rather than small. Throws std::runtime_error. */
std::string gzip(std::string_view text);

} // namespace kelvo::api
