#include "service/store/FarmRemoval.h"

#include "service/store/Bind.h"
#include "service/store/EventTable.h"
#include "service/store/FileTable.h"

#include <soci/soci.h>

#include <algorithm>
#include <array>
#include <string>

namespace kelvo::store {

using soci::into;

namespace {

/** The rows of a step. The database keeps the old pages of a step in memory. */
constexpr int stepRows = 50;

/** The rows of a farm in one table. */
struct FarmRows
{
    const char* table;
    const char* key;
    const char* condition;
};

// A row comes before the rows that it refers to.
constexpr std::array beforeFiles{
    FarmRows{"sessions", "token_hash", "user_id IN (SELECT id FROM users WHERE farm_id = :farm)"},
    FarmRows{"login_places", "user_id, network",
             "user_id IN (SELECT id FROM users WHERE farm_id = :farm)"},
    FarmRows{"track", "console_id, number",
             "console_id IN (SELECT id FROM consoles WHERE farm_id = :farm)"},
    FarmRows{"console_devices", "console_id, hardware_address",
             "console_id IN (SELECT id FROM consoles WHERE farm_id = :farm)"},
    FarmRows{"fetches", "farm_id, file_id, console_id", "farm_id = :farm"},
    FarmRows{"consoles", "id", "farm_id = :farm"},
    FarmRows{"uploads", "id", "farm_id = :farm"},
};
constexpr std::array afterFiles{
    FarmRows{"inboxes", "farm_id, id", "farm_id = :farm"},
    FarmRows{"users", "id", "farm_id = :farm"},
};

/** False if the table has no rows of the farm. */
bool removeSome(Transaction& transaction, const FarmRows& rows, Id farm)
{
    soci::statement change =
        (transaction.sql.prepare << "DELETE FROM " << rows.table << " WHERE (" << rows.key
                                 << ") IN (SELECT " << rows.key << " FROM " << rows.table
                                 << " WHERE " << rows.condition << " LIMIT :most)",
         use(farm), use(stepRows));
    change.execute(true);
    return change.get_affected_rows() > 0;
}

template <class Tables>
bool removeSome(Transaction& transaction, const Tables& all, Id farm)
{
    return std::any_of(all.begin(), all.end(),
                       [&](const FarmRows& rows) { return removeSome(transaction, rows, farm); });
}

bool removeSomeEvents(Transaction& transaction, Id farm)
{
    long long kept = 0;
    transaction.sql << "SELECT kept_events FROM farms WHERE id = :farm", into(kept), use(farm);
    if (kept == 0) {
        return false;
    }
    pruneEventsToCount(transaction, farm, std::max(0LL, kept - stepRows));
    return true;
}

/** Goes through the farm's entries in the order of their ids. False at their end. */
bool forgetSomeInAudit(Transaction& transaction, Id farm)
{
    soci::session& sql = transaction.sql;
    Id after = 0;
    Id last = 0;
    sql << "SELECT cleaned_audit FROM farms WHERE id = :farm", into(after), use(farm);
    sql << "SELECT COALESCE(MAX(e.id), 0) FROM (SELECT id FROM audit WHERE farm_id = :farm"
           " AND id > :after ORDER BY id LIMIT :most) e",
        into(last), use(farm), use(after), use(stepRows);
    if (last == 0) {
        return false;
    }
    sql << "UPDATE audit SET actor_name = '', address = '' WHERE farm_id = :farm AND id > :after"
           " AND id <= :last AND actor_id IN (SELECT id FROM users WHERE farm_id = audit.farm_id)",
        use(farm), use(after), use(last);
    sql << "UPDATE audit SET object_name = '' WHERE farm_id = :farm AND id > :after"
           " AND id <= :last AND object_kind = 'user'",
        use(farm), use(after), use(last);
    sql << "UPDATE farms SET cleaned_audit = :last WHERE id = :farm", use(last), use(farm);
    return true;
}

bool isBeingRemoved(soci::session& sql, Id farm)
{
    int count = 0;
    sql << "SELECT COUNT(*) FROM farms WHERE id = :farm AND deleted_ms IS NOT NULL", into(count),
        use(farm);
    return count > 0;
}

} // namespace

void deleteFarm(Transaction& transaction, Id farm, long long nowMs)
{
    Id user = 0;
    soci::statement users =
        (transaction.sql.prepare << "SELECT id FROM users WHERE farm_id = :farm", into(user),
         use(farm));
    users.execute();
    while (users.fetch()) {
        transaction.notice.users.insert(user); // their sessions end
    }
    const std::string name = " deleted-farm-" + std::to_string(farm); // no name starts with a blank
    transaction.sql << "UPDATE farms SET name = :name, deleted_ms = :now WHERE id = :farm",
        use(name), use(nowMs), use(farm);
}

std::vector<Id> deletedFarms(soci::session& sql)
{
    Id farm = 0;
    std::vector<Id> farms;
    soci::statement query =
        (sql.prepare << "SELECT id FROM farms WHERE deleted_ms IS NOT NULL", into(farm));
    query.execute();
    while (query.fetch()) {
        farms.push_back(farm);
    }
    return farms;
}

bool removeSomeOf(Transaction& transaction, Id farm)
{
    if (!isBeingRemoved(transaction.sql, farm)) {
        return false; // another request or instance has removed it
    }
    if (forgetSomeInAudit(transaction, farm) || removeSome(transaction, beforeFiles, farm) ||
        removeSomeEvents(transaction, farm) || removeSomeFilesOf(transaction, farm) ||
        removeSome(transaction, afterFiles, farm)) {
        return true;
    }
    for (const char* statement :
         {"DELETE FROM quotas WHERE farm_id = :farm", "DELETE FROM projects WHERE farm_id = :farm",
          "DELETE FROM farms WHERE id = :farm AND deleted_ms IS NOT NULL"}) {
        transaction.sql << statement, use(farm);
    }
    return false;
}

} // namespace kelvo::store
