#include "service/store/QuotaTable.h"

#include "service/store/Bind.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

namespace {

constexpr long long deletedUserCountsMs = 30LL * 24 * 3600 * 1000;

std::string toText(EQuotaScope scope)
{
    return scope == EQuotaScope::Farm ? "farm" : "user";
}

/**
 * An upload makes a file in each of its targets, which are a list with commas. A length that is not
 * known yet is negative; then the held bytes count.
 */
constexpr const char* openUploads =
    "(SELECT farm_id, CASE WHEN length_bytes < 0 THEN held_bytes ELSE length_bytes END"
    " AS length_bytes, LENGTH(targets) - LENGTH(REPLACE(targets, ',', '')) + 1 AS n"
    " FROM uploads WHERE finished = 0";

constexpr const char* sumOpenUploads =
    "SELECT COUNT(*), COALESCE(SUM(length_bytes * n), 0), COALESCE(SUM(n), 0) FROM ";

/** Comes before openUploads, which comes before joinLimits. */
constexpr const char* fromFarms = " FROM farms f LEFT JOIN (SELECT farm_id, SUM(length_bytes * n) "
                                  "AS bytes, SUM(n) AS files FROM ";
constexpr const char* joinLimits =
    ") AS open GROUP BY farm_id) o ON o.farm_id = f.id LEFT JOIN quotas qf ON qf.farm_id = f.id "
    "AND qf.scope = 'farm'"
    " AND qf.name = 'files' LEFT JOIN quotas qb ON qb.farm_id = f.id AND qb.scope = 'farm'"
    " AND qb.name = 'bytes'";

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
    sql << sumOpenUploads << openUploads << " AND farm_id = :farm) AS open", into(usage.uploads),
        into(usage.uploadBytes), into(usage.uploadFiles), use(farm);
    return usage;
}

Usage storageOfUser(soci::session& sql, Id farm, Id user)
{
    Usage usage;
    sql << "SELECT files, bytes FROM users WHERE id = :user", into(usage.files), into(usage.bytes),
        use(user);
    sql << sumOpenUploads << openUploads << " AND farm_id = :farm AND user_id = :user) AS open",
        into(usage.uploads), into(usage.uploadBytes), into(usage.uploadFiles), use(farm), use(user);
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
    // The plus and the condition on projects select the index. Without them the database would walk
    // the farm's bin and all inboxes.
    sql << "SELECT COUNT(*), COALESCE(SUM(size_bytes), 0) FROM files WHERE farm_id = :farm"
           " AND inbox_id IN (SELECT id FROM inboxes WHERE farm_id = :same AND owner_id = :user"
           " AND project_id IN (SELECT id FROM projects WHERE farm_id = :too))"
           " AND +deleted_ms IS NOT NULL",
        into(usage.binFiles), into(usage.binBytes), use(farm), use(farm), use(user), use(farm);
    sql << "SELECT COUNT(*) FROM sessions WHERE user_id = :user", into(usage.sessions), use(user);
    return usage;
}

long long countUsers(soci::session& sql, Id farm, long long nowMs)
{
    const long long since = nowMs - deletedUserCountsMs;
    long long count = 0;
    sql << "SELECT COUNT(*) FROM users WHERE farm_id = :farm"
           " AND (deleted_ms IS NULL OR deleted_ms > :since)",
        into(count), use(farm), use(since);
    return count;
}

void eachLargestFarm(soci::session& sql, const Limits& defaults, int most,
                     const std::function<void(const FarmUsage&)>& visit)
{
    FarmUsage row;
    soci::statement query =
        (sql.prepare << "SELECT f.id, f.name, f.files + COALESCE(o.files, 0),"
                        " f.bytes + COALESCE(o.bytes, 0) AS used, COALESCE(qf.value, :files),"
                        " COALESCE(qb.value, :bytes)"
                     << fromFarms << openUploads << joinLimits
                     << " WHERE f.deleted_ms IS NULL ORDER BY used DESC, f.id LIMIT :most",
         into(row.farm.id), into(row.farm.name), into(row.files), into(row.bytes),
         into(row.fileLimit), into(row.byteLimit), use(defaults.files), use(defaults.bytes),
         use(most));
    query.execute();
    while (query.fetch()) {
        visit(row);
    }
}

long long countNearlyFull(soci::session& sql, const Limits& defaults)
{
    long long count = 0;
    sql << "SELECT COUNT(*)" << fromFarms << openUploads << joinLimits
        << " WHERE f.deleted_ms IS NULL"
           " AND (f.files + COALESCE(o.files, 0) >= 0.9 * COALESCE(qf.value, :files)"
           " OR f.bytes + COALESCE(o.bytes, 0) >= 0.9 * COALESCE(qb.value, :bytes))",
        into(count), use(defaults.files), use(defaults.bytes);
    return count;
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
