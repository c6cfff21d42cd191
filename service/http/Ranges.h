// Range headers with one byte range, and lists of entity tags.
#pragma once

#include <cstdint>
#include <string_view>

namespace kelvo::http {

enum class ERange : std::uint8_t {
    Whole,         // no Range, or a Range to ignore: another unit, several ranges, nonsense
    Part,          // offset and length are set
    Unsatisfiable, // well-formed, but outside of the content
};

struct RangeChoice
{
    ERange kind = ERange::Whole;
    std::uint64_t offset = 0;
    std::uint64_t length = 0;
};

/** The part of `sizeBytes` bytes that a Range header asks for. */
RangeChoice chooseRange(std::string_view header, std::uint64_t sizeBytes);

/** Whether an If-Match or If-None-Match list names the tag. Weak tags match only if `weakly`. */
bool tagListMatches(std::string_view list, std::string_view tag, bool weakly);

} // namespace kelvo::http
