#include "service/store/QuotaTable.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;
using soci::use;

namespace {

std::string toText(EQuotaScope scope)
{
    return scope == EQuotaScope::Farm ? "farm" : "user";
}

/**
 * An upload makes a file in each of its targets, which are a list with commas. A length that is not
 * known yet is negative.
 */
constexpr const char* selectOpenUploads =
    "SELECT COUNT(*), COALESCE(SUM(length_bytes * n), 0), COALESCE(SUM(n), 0) FROM"
    " (SELECT CASE WHEN length_bytes > 0 THEN length_bytes ELSE 0 END AS length_bytes, "
    "LENGTH(targets) - LENGTH(REPLACE(targets, ',', '')) + 1 AS n"
    " FROM uploads WHERE farm_id = :farm AND finished = 0";

} // namespace

Quotas quotasOf(soci::session& sql, Id farm, const Quotas& defaults)
{
    Quotas quotas = defaults;
    std::string scope;
    std::string name;
    long long value = 0;
    soci::statement query =
        (sql.prepare << "SELECT scope, name, value FROM quotas WHERE farm_id = :farm", into(scope),
         into(name), into(value), use(farm));
    query.execute();
    while (query.fetch()) {
        Limits& limits = scope == toText(EQuotaScope::Farm) ? quotas.farm : quotas.user;
        for (const LimitName& limit : limitNames) {
            if (name == limit.name) {
                limits.*limit.value = value;
            }
        }
    }
    return quotas;
}

void setQuota(Transaction& transaction, Id farm, EQuotaScope scope, const std::string& name,
              std::optional<long long> value)
{
    const std::string scopeName = toText(scope);
    transaction.sql << "DELETE FROM quotas WHERE farm_id = :farm AND scope = :scope"
                       " AND name = :name",
        use(farm), use(scopeName), use(name);
    if (value) {
        transaction.sql << "INSERT INTO quotas (farm_id, scope, name, value)"
                           " VALUES (:farm, :scope, :name, :value)",
            use(farm), use(scopeName), use(name), use(*value);
    }
}

Usage storageOfFarm(soci::session& sql, Id farm)
{
    Usage usage;
    sql << "SELECT files, bytes FROM farms WHERE id = :farm", into(usage.files), into(usage.bytes),
        use(farm);
    sql << selectOpenUploads << ") AS open", into(usage.uploads), into(usage.uploadBytes),
        into(usage.uploadFiles), use(farm);
    return usage;
}

Usage storageOfUser(soci::session& sql, Id farm, Id user)
{
    Usage usage;
    sql << "SELECT files, bytes FROM users WHERE id = :user", into(usage.files), into(usage.bytes),
        use(user);
    sql << selectOpenUploads << " AND user_id = :user) AS open", into(usage.uploads),
        into(usage.uploadBytes), into(usage.uploadFiles), use(farm), use(user);
    return usage;
}

Usage usageOfFarm(soci::session& sql, Id farm)
{
    Usage usage = storageOfFarm(sql, farm);
    sql << "SELECT COUNT(*), COALESCE(SUM(size_bytes), 0) FROM files"
           " WHERE farm_id = :farm AND deleted_ms IS NOT NULL",
        into(usage.binFiles), into(usage.binBytes), use(farm);
    sql << "SELECT COUNT(*) FROM users u JOIN sessions s ON s.user_id = u.id"
           " WHERE u.farm_id = :farm",
        into(usage.sessions), use(farm);
    return usage;
}

Usage usageOfUser(soci::session& sql, Id farm, Id user)
{
    Usage usage = storageOfUser(sql, farm, user);
    sql << "SELECT COUNT(*), COALESCE(SUM(f.size_bytes), 0) FROM inboxes i"
           " JOIN files f ON f.farm_id = i.farm_id AND f.inbox_id = i.id"
           " WHERE i.farm_id = :farm AND i.owner_id = :user AND f.deleted_ms IS NOT NULL",
        into(usage.binFiles), into(usage.binBytes), use(farm), use(user);
    sql << "SELECT COUNT(*) FROM sessions WHERE user_id = :user", into(usage.sessions), use(user);
    return usage;
}

void countFiles(Transaction& transaction, Id farm, Id owner, long long files, long long bytes)
{
    transaction.sql << "UPDATE farms SET files = files + :files, bytes = bytes + :bytes"
                       " WHERE id = :farm",
        use(files), use(bytes), use(farm);
    transaction.sql << "UPDATE users SET files = files + :files, bytes = bytes + :bytes"
                       " WHERE id = :owner",
        use(files), use(bytes), use(owner);
}

} // namespace kelvo::store
