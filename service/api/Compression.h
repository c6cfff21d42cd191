// Compressed answers.
#pragma once

#include <string>
#include <string_view>

namespace kelvo::api {

/** Optimises for speed, not for size. Throws std::runtime_error. */
std::string gzip(std::string_view text);

} // namespace kelvo::api
