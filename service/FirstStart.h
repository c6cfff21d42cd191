// The administrator of a new service.
#pragma once

#include "service/accounts/Passwords.h"
#include "service/base/Clock.h"
#include "service/store/Database.h"

#include <filesystem>

namespace kelvo {

/**
 * Creates the user "admin" if there are no users, and writes the password to admin.password (mode
 * 0600) in the folder. The file is written before the database, so a crash leaves no administrator
 * with an unknown password. If several instances start at once, one of them keeps the file.
 */
void makeFirstAdmin(store::Database& database, const accounts::Passwords& passwords,
                    const Clock& clock, const std::filesystem::path& dataFolder);

} // namespace kelvo
