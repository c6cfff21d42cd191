// A file in words: its sender, its note and its fetch.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace kelvoctl {

// "  from anna  note: ...", or "" without both. The text is printable.
std::string senderText(const nlohmann::json& file);

// `file` has "fetched_at" and "fetched_by". The text may hold another user's characters.
std::string fetchText(const nlohmann::json& file);

} // namespace kelvoctl
