#include "service/store/AuditTable.h"

#include "service/base/Log.h"
#include "service/store/Bind.h"
#include "service/store/PartQuery.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

namespace {

/** A share that was larger in an earlier version shrinks by this many entries with each new entry.
 */
constexpr int mostDeleted = 100;

long long nextNumber(soci::session& sql, Id farm, int share)
{
    long long number = 0;
    sql << "INSERT INTO audit_shares (farm_id, share, last_number) VALUES (:farm, :share, 1)"
           " ON CONFLICT (farm_id, share) DO UPDATE SET last_number = audit_shares.last_number + 1"
           " RETURNING last_number",
        into(number), use(farm), use(share);
    return number;
}

void addEntry(soci::session& sql, const AuditEntry& entry, int share, long long number)
{
    sql << "INSERT INTO audit (id, at_ms, action, outcome, address, actor_id, actor_name, farm_id,"
           " object_kind, object_id, object_name, share, number) VALUES (:id, :at, :action,"
           " :outcome, :address, :actor, :actor_name, :farm, :kind, :object, :object_name, :share,"
           " :number)",
        use(entry.id), use(entry.atMs), use(entry.action), use(entry.outcome), use(entry.address),
        use(entry.actor), use(entry.actorName), use(entry.farm), use(entry.objectKind),
        use(entry.object), use(entry.objectName), use(share), use(number);
    const long long upTo = number - entry.mostOfShare;
    sql << "DELETE FROM audit WHERE id IN (SELECT id FROM audit WHERE farm_id = :farm"
           " AND share = :share AND number <= :upTo ORDER BY number LIMIT :most)",
        use(entry.farm), use(share), use(upTo), use(mostDeleted);
}

} // namespace

EAuditShare shareOf(const AuditEntry& entry)
{
    if (entry.outcome == "done") {
        return EAuditShare::Changes;
    }
    return entry.actor == 0 ? EAuditShare::UnknownNames : EAuditShare::FailedLogins;
}

long long AuditLimits::of(EAuditShare share) const
{
    switch (share) {
    case EAuditShare::Changes:
        return changes;
    case EAuditShare::FailedLogins:
        return failedLogins;
    case EAuditShare::UnknownNames:
        return unknownNames;
    }
    return 0;
}

void addAudit(Transaction& transaction, AuditEntry entry, const AuditLimits& limits)
{
    for (const std::string* text : {&entry.action, &entry.outcome, &entry.address, &entry.actorName,
                                    &entry.objectKind, &entry.objectName}) {
        noteText(*text);
    }
    entry.mostOfShare = limits.of(shareOf(entry));
    transaction.audit.push_back(std::move(entry));
}

void storeEntries(soci::session& sql, std::vector<AuditEntry> entries)
{
    std::vector<long long> numbers;
    numbers.reserve(entries.size());
    for (const AuditEntry& entry : entries) {
        numbers.push_back(nextNumber(sql, entry.farm, static_cast<int>(shareOf(entry))));
    }
    const auto count = static_cast<long long>(entries.size());
    Id last = 0;
    sql << "UPDATE counters SET value = value + :count WHERE name = 'audit' RETURNING value",
        into(last), use(count);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        entries[i].id = last - count + 1 + static_cast<long long>(i);
        addEntry(sql, entries[i], static_cast<int>(shareOf(entries[i])), numbers[i]);
    }
}

void logEntry(const AuditEntry& entry)
{
    logAudit({entry.action, entry.outcome, entry.address, entry.actor, entry.actorName, entry.farm,
              entry.objectKind, entry.object, entry.objectName});
}

void auditOf(soci::session& sql, const AuditPart& part,
             const std::function<bool(const AuditEntry&)>& visit)
{
    AuditEntry row;
    PartQuery query(sql);
    query.into(row.id, row.atMs, row.action, row.outcome, row.address, row.actorName,
               row.objectKind, row.objectName, row.actor, row.farm, row.object);
    query.filter(part.farm, "farm_id = :farm");
    query.filter(part.actor, "actor_id = :actor");
    if (part.person) {
        query.where("(actor_id = :self OR (object_kind = 'user' AND object_id = :object))",
                    *part.person, *part.person);
    }
    query.filter(part.action, "action = :action");
    query.filter(part.fromMs, "at_ms >= :from");
    query.filter(part.beforeMs, "at_ms < :before");
    query.filter(part.belowId, "id < :below");
    query.execute("SELECT id, at_ms, action, outcome, address, actor_name, object_kind,"
                  " object_name, actor_id, farm_id, object_id FROM audit",
                  "id DESC", part.most);
    while (query.fetch() && visit(row)) {
    }
}

void pruneAudit(Transaction& transaction, long long beforeMs)
{
    transaction.sql << "DELETE FROM audit WHERE at_ms < :before", use(beforeMs);
}

void forgetInAudit(Transaction& transaction, Id user)
{
    soci::session& sql = transaction.sql;
    sql << "UPDATE audit SET actor_name = '', address = '' WHERE actor_id = :user", use(user);
    sql << "UPDATE audit SET object_name = '' WHERE object_kind = 'user' AND object_id = :user",
        use(user);
}

} // namespace kelvo::store
