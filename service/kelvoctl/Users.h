// Finding users and farms by name, and lists of several pages.
#pragma once

#include "service/kelvoctl/CommandContext.h"

#include <string>

namespace kelvoctl {

// The path of the user with this name. Throws Refused if the caller sees no such user.
std::string userPath(CommandContext& context, const std::string& name);

// The path of the farm with this name. For administrators. Throws Refused.
std::string farmPath(CommandContext& context, const std::string& name);

// The items of all pages of a list, from the member `items` of each page.
nlohmann::json allPages(ApiClient& client, const std::string& path, const char* items);

} // namespace kelvoctl
