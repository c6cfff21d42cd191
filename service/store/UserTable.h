// User accounts.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

struct NewUser
{
    std::optional<Farm> farm;
    std::string name;
    ERole role = ERole::Operator;
    std::string passwordHash;
    long long createdMs = 0;
};

struct Credentials
{
    User user;
    std::string passwordHash;
};

/** Throws NameTaken; names are unique over all farms. */
User addUser(Transaction& transaction, const NewUser& user);

std::optional<User> userById(soci::session& sql, Id user);
std::optional<Credentials> credentialsOf(soci::session& sql, const std::string& name);

/** All users, or those of one farm. */
std::vector<User> allUsers(soci::session& sql, const std::optional<std::string>& farmName);

void setDisabled(Transaction& transaction, Id user, bool disabled);
void setPassword(Transaction& transaction, Id user, const std::string& passwordHash);

/** When the first one was made, which is when the database was. 0: there are none. */
long long firstCreatedMs(soci::session& sql);

/** Admins that can log in. */
long long countEnabledAdmins(soci::session& sql);

} // namespace kelvo::store
