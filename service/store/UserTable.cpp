#include "service/store/UserTable.h"

#include "service/store/Bind.h"
#include "service/store/Errors.h"
#include "service/store/PartQuery.h"

#include <soci/soci.h>

#include <array>

namespace kelvo::store {

using soci::into;

namespace {

struct RoleName
{
    ERole role;
    const char* text;
};
constexpr std::array roleNames{
    RoleName{ERole::Operator, "operator"},
    RoleName{ERole::Office, "office"},
    RoleName{ERole::Admin, "admin"},
};

constexpr const char* selectUsers =
    "SELECT u.id, COALESCE(f.id, 0), COALESCE(f.name, ''), u.name, u.role, u.disabled,"
    " u.password_hash FROM users u LEFT JOIN farms f ON f.id = u.farm_id";

/** Without deleted users and the users of deleted farms. */
constexpr const char* isPresent = "u.deleted_ms IS NULL AND f.deleted_ms IS NULL";

/** Receives one row of selectUsers. */
struct UserRow
{
    Credentials credentials;
    Farm farm;
    std::string role;
    int disabled = 0;

    Credentials take() const
    {
        Credentials result = credentials;
        result.user.role = roleFromText(role).value_or(ERole::Operator);
        result.user.disabled = disabled != 0;
        if (farm.id != 0) {
            result.user.farm = farm;
        }
        return result;
    }
};

auto intoRow(soci::details::prepare_temp_type query, UserRow& row)
{
    return query, into(row.credentials.user.id), into(row.farm.id), into(row.farm.name),
           into(row.credentials.user.name), into(row.role), into(row.disabled),
           into(row.credentials.passwordHash);
}

} // namespace

std::string toText(ERole role)
{
    return roleNames[static_cast<std::size_t>(role)].text;
}

std::optional<ERole> roleFromText(const std::string& text)
{
    for (const RoleName& row : roleNames) {
        if (text == row.text) {
            return row.role;
        }
    }
    return std::nullopt;
}

User addUser(Transaction& transaction, const NewUser& user)
{
    soci::session& sql = transaction.sql;
    User added{0, user.farm, user.name, user.role, false};
    sql << "UPDATE counters SET value = value + 1 WHERE name = 'users'";
    sql << "SELECT value FROM counters WHERE name = 'users'", into(added.id);
    if (added.id > largestId) {
        throw OutOfIds();
    }
    const Id farm = added.farmId();
    soci::indicator hasFarm = user.farm ? soci::i_ok : soci::i_null;
    const std::string role = toText(user.role);
    sql << "INSERT INTO users (id, farm_id, name, role, password_hash, disabled, created_ms)"
           " VALUES (:id, :farm, :name, :role, :hash, 0, :created)",
        use(added.id), use(farm, hasFarm), use(user.name), use(role), use(user.passwordHash),
        use(user.createdMs);
    return added;
}

std::optional<User> userById(soci::session& sql, Id user)
{
    UserRow row;
    soci::statement query =
        (intoRow(sql.prepare << selectUsers << " WHERE u.id = :id AND " << isPresent, row),
         use(user));
    return query.execute(true) ? std::optional(row.take().user) : std::nullopt;
}

std::optional<Credentials> credentialsOf(soci::session& sql, const std::string& name)
{
    UserRow row;
    soci::statement query =
        (intoRow(sql.prepare << selectUsers << " WHERE u.name = :name AND " << isPresent, row),
         use(name));
    return query.execute(true) ? std::optional(row.take()) : std::nullopt;
}

void allUsers(soci::session& sql, const UserPart& part,
              const std::function<bool(const User&)>& visit)
{
    UserRow row;
    PartQuery query(sql);
    query.into(row.credentials.user.id, row.farm.id, row.farm.name, row.credentials.user.name,
               row.role, row.disabled, row.credentials.passwordHash);
    const auto role = part.role ? std::optional(toText(*part.role)) : std::nullopt;
    const auto disabled = part.disabled ? std::optional(*part.disabled ? 1 : 0) : std::nullopt;
    query.where(isPresent);
    query.filter(part.farm, "u.farm_id = :farm");
    query.filter(part.name, "u.name = :name");
    query.filter(role, "u.role = :role");
    query.filter(disabled, "u.disabled = :disabled");
    query.filter(part.afterId, "u.id > :after");
    query.execute(selectUsers, "u.id", part.most);
    while (query.fetch() && visit(row.take().user)) {
    }
}

void setDisabled(Transaction& transaction, Id user, bool disabled)
{
    const int value = disabled ? 1 : 0;
    transaction.sql << "UPDATE users SET disabled = :disabled WHERE id = :id", use(value),
        use(user);
    transaction.notice.users.insert(user);
}

void setUserName(Transaction& transaction, const User& user, const std::string& name)
{
    const Id farm = user.farmId();
    transaction.sql << "UPDATE users SET name = :name WHERE id = :id", use(name), use(user.id);
    transaction.sql << "UPDATE files SET deleted_by = :new WHERE farm_id = :farm"
                       " AND deleted_by = :old",
        use(name), use(farm), use(user.name);
}

void setRole(Transaction& transaction, Id user, ERole role)
{
    const std::string text = toText(role);
    transaction.sql << "UPDATE users SET role = :role WHERE id = :id", use(text), use(user);
}

void setPassword(Transaction& transaction, Id user, const std::string& passwordHash)
{
    transaction.sql << "UPDATE users SET password_hash = :hash WHERE id = :id", use(passwordHash),
        use(user);
}

long long firstCreatedMs(soci::session& sql)
{
    long long first = 0;
    sql << "SELECT COALESCE(MIN(created_ms), 0) FROM users", into(first);
    return first;
}

long long countEnabledAdmins(soci::session& sql)
{
    long long count = 0;
    // No other user is without a farm, so the index finds the administrators among all users.
    sql << "SELECT COUNT(*) FROM users WHERE farm_id IS NULL AND role = 'admin' AND disabled = 0",
        into(count);
    return count;
}

} // namespace kelvo::store
