// The header Upload-Metadata of the tus protocol.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kelvo::api {

/** Parses keys with base64 values. Empty if the header is malformed. */
std::optional<std::map<std::string, std::string>> parseMetadata(std::string_view header);

/** Empty if the key is missing. */
std::string valueOf(const std::map<std::string, std::string>& metadata, const std::string& key);

} // namespace kelvo::api
