#include "service/store/AuditTable.h"

#include "service/base/Log.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;
using soci::use;

void addAudit(Transaction& transaction, AuditEntry entry)
{
    soci::session& sql = transaction.sql;
    sql << "UPDATE counters SET value = value + 1 WHERE name = 'audit'";
    sql << "SELECT value FROM counters WHERE name = 'audit'", into(entry.id);
    sql << "INSERT INTO audit (id, at_ms, action, outcome, address, actor_id, actor_name, farm_id,"
           " object_kind, object_id, object_name) VALUES (:id, :at, :action, :outcome, :address,"
           " :actor, :actor_name, :farm, :kind, :object, :object_name)",
        use(entry.id), use(entry.atMs), use(entry.action), use(entry.outcome), use(entry.address),
        use(entry.actor), use(entry.actorName), use(entry.farm), use(entry.objectKind),
        use(entry.object), use(entry.objectName);
    transaction.audit.push_back(std::move(entry));
}

void logEntry(const AuditEntry& entry)
{
    logAudit({entry.action, entry.outcome, entry.address, entry.actor, entry.actorName, entry.farm,
              entry.objectKind, entry.object, entry.objectName});
}

std::vector<AuditEntry> auditOf(soci::session& sql, const AuditPart& part)
{
    std::string where = " WHERE 1 = 1";
    const auto filter = [&where](bool isSet, const char* condition) {
        where += isSet ? condition : "";
    };
    filter(part.farm.has_value(), " AND farm_id = :farm");
    filter(part.actor.has_value(), " AND actor_id = :actor");
    filter(part.action.has_value(), " AND action = :action");
    filter(part.fromMs.has_value(), " AND at_ms >= :from");
    filter(part.beforeMs.has_value(), " AND at_ms < :before");
    filter(part.belowId.has_value(), " AND id < :below");
    AuditEntry row;
    soci::statement query(sql);
    query.exchange(into(row.id));
    query.exchange(into(row.atMs));
    for (std::string* text : {&row.action, &row.outcome, &row.address, &row.actorName,
                              &row.objectKind, &row.objectName}) {
        query.exchange(into(*text));
    }
    for (Id* id : {&row.actor, &row.farm, &row.object}) {
        query.exchange(into(*id));
    }
    const auto bind = [&query](const auto& value) {
        if (value) {
            query.exchange(use(*value));
        }
    };
    bind(part.farm);
    bind(part.actor);
    bind(part.action);
    bind(part.fromMs);
    bind(part.beforeMs);
    bind(part.belowId);
    query.exchange(use(part.most));
    query.alloc();
    query.prepare("SELECT id, at_ms, action, outcome, address, actor_name, object_kind,"
                  " object_name, actor_id, farm_id, object_id FROM audit" +
                  where + " ORDER BY id DESC LIMIT :most");
    query.define_and_bind();
    query.execute();
    std::vector<AuditEntry> entries;
    while (query.fetch()) {
        entries.push_back(row);
    }
    return entries;
}

void pruneAudit(Transaction& transaction, long long beforeMs)
{
    transaction.sql << "DELETE FROM audit WHERE at_ms < :before OR id <="
                       " (SELECT value FROM counters WHERE name = 'audit') - :most",
        use(beforeMs), use(maxAuditEntries);
}

void forgetInAudit(Transaction& transaction, Id user)
{
    soci::session& sql = transaction.sql;
    sql << "UPDATE audit SET actor_name = '', address = '' WHERE actor_id = :user", use(user);
    sql << "UPDATE audit SET object_name = '' WHERE object_kind = 'user' AND object_id = :user",
        use(user);
}

} // namespace kelvo::store
