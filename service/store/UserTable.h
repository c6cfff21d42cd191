// User accounts.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <functional>
#include <optional>
#include <string>

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

/** A part of the users. Without a value a filter lets every user through. */
struct UserPart
{
    std::optional<Id> farm = {};
    std::optional<std::string> name = {};
    std::optional<ERole> role = {};
    std::optional<bool> disabled = {};
    std::optional<Id> afterId = {};
    int most = 0; // 0: all
};

/** In the order of their ids. Ends when `visit` returns false. */
void allUsers(soci::session& sql, const UserPart& part,
              const std::function<bool(const User&)>& visit);

void setDisabled(Transaction& transaction, Id user, bool disabled);
/** Renames the user, also where the bin names the user. `user` has the old name. */
void setUserName(Transaction& transaction, const User& user, const std::string& name);
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
