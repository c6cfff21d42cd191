// The dates of HTTP's fields.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace kesdk::impl {

// Seconds since 1970, in any of HTTP's three forms; also where time_t has only 32 bits.
std::optional<std::int64_t> ParseHttpDate(std::string_view text);

} // namespace kesdk::impl
