// The farms and users of the herd on the service.
#pragma once

#include "tools/herd/Line.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace herd {

/** Farms count from 1, the operators of a farm too. */
std::string farmName(std::uint32_t farm);
std::string officeName(std::uint32_t farm);
std::string operatorName(std::uint32_t farm, std::uint32_t seat);

/**
 * The password is computed from the administrator's password and the name. So a later run knows the
 * passwords, and nothing is stored.
 */
Identity identityOf(const std::string& user, const std::string& adminPassword);

/** Operators of the farm `farm` of `farms`, if `consoles` are spread evenly. */
std::uint32_t operatorsOf(std::uint32_t farm, std::uint32_t farms, std::uint32_t consoles);

/** Makes the missing farms and users. Throws Fatal. */
Async<void> makeAccounts(Network& network, Identity& admin, std::uint32_t farms,
                         std::uint32_t consoles);

/** Deletes all farms of any herd, with their users and files. Returns their number. Throws Fatal.
 */
Async<std::size_t> removeAccounts(Network& network, Identity& admin);

} // namespace herd
