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

/** Throws NotUnique. User names are unique over all farms. */
User addUser(Transaction& transaction, const NewUser& user);

/** Does not find a deleted user. */
std::optional<User> userById(soci::session& sql, Id user);
std::optional<Credentials> credentialsOf(soci::session& sql, const std::string& name);

/** All users, or the users of one farm. */
std::vector<User> allUsers(soci::session& sql, const std::optional<std::string>& farmName);

void setDisabled(Transaction& transaction, Id user, bool disabled);
void setUserName(Transaction& transaction, Id user, const std::string& name);
void setRole(Transaction& transaction, Id user, ERole role);
void setPassword(Transaction& transaction, Id user, const std::string& passwordHash);

/**
 * The creation time of the first user, which is the creation time of the database. 0: there are no
 * users.
 */
long long firstCreatedMs(soci::session& sql);

/** Administrators that can log in. */
long long countEnabledAdmins(soci::session& sql);

} // namespace kelvo::store
