// The administrator that a new service comes with.
#pragma once

#include "service/accounts/Passwords.h"
#include "service/base/Clock.h"
#include "service/store/Database.h"

#include <filesystem>

namespace kelvo {

/**
 * Makes the user "admin" when there are no users at all, and writes the password to admin.password
 * (0600) in the folder, before the database knows it, so that no crash leaves an administrator
 * nobody can log in as.
 */
void makeFirstAdmin(store::Database& database, const accounts::Passwords& passwords,
                    const Clock& clock, const std::filesystem::path& dataFolder);

} // namespace kelvo
