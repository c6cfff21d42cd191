#include "service/api/TusMetadata.h"

#include "service/base/Encoding.h"

#include <algorithm>

namespace kelvo::api {

namespace {

/** Printable ASCII. Spaces and commas separate the header's items. */
bool isKey(std::string_view text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c > 0x20 && c < 0x7F; });
}

} // namespace

std::optional<std::map<std::string, std::string>> parseMetadata(std::string_view header)
{
    std::map<std::string, std::string> values;
    while (!trimmed(header).empty()) {
        const std::size_t end = std::min(header.find(','), header.size());
        const std::string_view pair = trimmed(header.substr(0, end));
        const std::size_t space = std::min(pair.find(' '), pair.size());
        const auto value = fromBase64(trimmed(pair.substr(space)));
        if (!isKey(pair.substr(0, space)) || !value ||
            !values.emplace(std::string(pair.substr(0, space)), *value).second) {
            return std::nullopt;
        }
        header.remove_prefix(std::min(end + 1, header.size()));
    }
    return values;
}

std::string valueOf(const std::map<std::string, std::string>& metadata, const std::string& key)
{
    const auto found = metadata.find(key);
    return found == metadata.end() ? std::string() : found->second;
}

} // namespace kelvo::api
