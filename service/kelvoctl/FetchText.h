// The fetch of a file in words.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace kelvoctl {

// `file` has "fetched_at" and "fetched_by". The text may hold another user's characters.
std::string fetchText(const nlohmann::json& file);

} // namespace kelvoctl
