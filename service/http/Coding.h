// Content codings that a client accepts.
#pragma once

#include <string_view>

namespace kelvo::http {

/** Whether an Accept-Encoding header names the coding, for example "gzip", with a weight above 0.
 */
bool acceptsCoding(std::string_view header, std::string_view coding);

} // namespace kelvo::http
