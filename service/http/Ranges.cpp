#include "service/http/Ranges.h"

#include "service/base/Encoding.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace kelvo::http {

namespace {

RangeChoice part(std::uint64_t first, std::uint64_t last)
{
    return {ERange::Part, first, last - first + 1};
}

/** A number of more than 64 bits is beyond every file, as the largest of 64 bits is. */
std::optional<std::uint64_t> parsePosition(std::string_view text)
{
    const bool isNumber = !text.empty() && text.find_first_not_of("0123456789") == text.npos;
    const auto largest = std::numeric_limits<std::uint64_t>::max();
    return isNumber ? std::optional(parseNumber(text).value_or(largest)) : std::nullopt;
}

RangeChoice suffix(std::uint64_t wanted, std::uint64_t sizeBytes)
{
    if (wanted == 0 || sizeBytes == 0) {
        return {ERange::Unsatisfiable, 0, 0};
    }
    return part(sizeBytes - std::min(wanted, sizeBytes), sizeBytes - 1);
}

} // namespace

RangeChoice chooseRange(std::string_view header, std::uint64_t sizeBytes)
{
    static constexpr std::string_view unit = "bytes=";
    const RangeChoice whole{ERange::Whole, 0, sizeBytes};
    if (!equalsIgnoringCase(header.substr(0, unit.size()), unit)) {
        return whole;
    }
    const std::string_view spec = trimmed(header.substr(unit.size()));
    const std::size_t dash = spec.find('-');
    if (dash == std::string_view::npos) {
        return whole;
    }
    const auto first = parsePosition(spec.substr(0, dash));
    const auto last = parsePosition(spec.substr(dash + 1));
    const bool openEnd = dash + 1 == spec.size();
    if (dash == 0) {
        return last ? suffix(*last, sizeBytes) : whole;
    }
    if (!first || (!last && !openEnd) || (last && *last < *first)) {
        return whole;
    }
    if (*first >= sizeBytes) {
        return {ERange::Unsatisfiable, 0, 0};
    }
    return part(*first, openEnd ? sizeBytes - 1 : std::min(*last, sizeBytes - 1));
}

bool tagListMatches(std::string_view list, std::string_view tag, bool weakly)
{
    if (trimmed(list) == "*") {
        return true;
    }
    const auto opaque = [weakly](std::string_view one) {
        return weakly && one.starts_with("W/") ? one.substr(2) : one;
    };
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(','), list.size());
        if (opaque(trimmed(list.substr(0, end))) == opaque(tag)) {
            return true;
        }
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    return false;
}

} // namespace kelvo::http
