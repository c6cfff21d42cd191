// Finding users and farms by name.
#pragma once

#include "service/kelvoctl/CommandContext.h"

#include <string>

namespace kelvoctl {

// The path of the user with this name. Throws Refused if the caller sees no such user.
std::string userPath(CommandContext& context, const std::string& name);

// The path of the farm with this name. For administrators. Throws Refused.
std::string farmPath(CommandContext& context, const std::string& name);

} // namespace kelvoctl
