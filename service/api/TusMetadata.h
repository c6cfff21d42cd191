// The header Upload-Metadata of the tus protocol.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kelvo::api {

/** Upload-Metadata: keys with base64 values; nothing if it is malformed. */
std::optional<std::map<std::string, std::string>> parseMetadata(std::string_view header);

} // namespace kelvo::api
