#include "service/store/EventTable.h"

#include "service/store/Bind.h"
#include "service/store/Errors.h"
#include "service/store/FarmTable.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

namespace {

/** Deletes events of the farm and updates the farm's count. */
void deleteAndCount(Transaction& transaction, Id farm, soci::statement& deletion)
{
    deletion.execute(true);
    const long long removed = deletion.get_affected_rows();
    transaction.sql << "UPDATE farms SET kept_events = kept_events - :removed WHERE id = :farm",
        use(removed), use(farm);
}

} // namespace

void addEvent(Transaction& transaction, Event event)
{
    soci::session& sql = transaction.sql;
    // The change has its farm alone until the commit, so events become visible in the order of
    // their ids.
    sql << "UPDATE farms SET last_event = last_event + 1, kept_events = kept_events + 1"
           " WHERE id = :farm RETURNING last_event",
        into(event.id), use(event.farm);
    sql << "INSERT INTO events (farm_id, id, name, owner_id, full_data, common_data, created_ms)"
           " VALUES (:farm, :id, :name, :owner, :full, :common, :created)",
        use(event.farm), use(event.id), use(event.name), use(event.owner), use(event.fullData),
        use(event.commonData), use(event.createdMs);
    transaction.events.push_back(std::move(event));
}

EventBounds eventBounds(soci::session& sql, Id farm)
{
    EventBounds bounds;
    sql << "SELECT last_event, pruned_event FROM farms WHERE id = :farm", into(bounds.newest),
        into(bounds.pruned), use(farm);
    return bounds;
}

std::vector<Event> eventsAfter(soci::session& sql, Id farm, Id cursor, int limit)
{
    Event event;
    event.farm = farm;
    std::vector<Event> events;
    soci::statement query =
        (sql.prepare << "SELECT id, name, owner_id, full_data, common_data, created_ms FROM events"
                        " WHERE farm_id = :farm AND id > :cursor ORDER BY id LIMIT :limit",
         into(event.id), into(event.name), into(event.owner), into(event.fullData),
         into(event.commonData), into(event.createdMs), use(farm), use(cursor), use(limit));
    query.execute();
    while (query.fetch()) {
        events.push_back(event);
    }
    return events;
}

void dropEvent(Transaction& transaction, Id farm, Id event)
{
    soci::statement change =
        (transaction.sql.prepare << "DELETE FROM events WHERE farm_id = :farm AND id = :id",
         use(farm), use(event));
    deleteAndCount(transaction, farm, change);
}

void pruneEventsToCount(Transaction& transaction, Id farm, long long most)
{
    soci::session& sql = transaction.sql;
    long long excess = 0;
    sql << "SELECT kept_events - :most FROM farms WHERE id = :farm", into(excess), use(most),
        use(farm);
    if (excess <= 0) {
        return;
    }
    Id last = 0;
    sql << "SELECT MAX(o.id) FROM (SELECT id FROM events WHERE farm_id = :farm ORDER BY id"
           " LIMIT :excess) o",
        into(last), use(farm), use(excess);
    pruneEventsTo(transaction, farm, last);
}

void pruneEventsTo(Transaction& transaction, Id farm, Id upTo)
{
    soci::statement change =
        (transaction.sql.prepare << "DELETE FROM events WHERE farm_id = :farm AND id <= :upTo",
         use(farm), use(upTo));
    deleteAndCount(transaction, farm, change);
    transaction.sql << "UPDATE farms SET pruned_event = :upTo WHERE id = :farm"
                       " AND pruned_event < :least",
        use(upTo), use(farm), use(upTo);
}

void pruneEventsBefore(Transaction& transaction, long long createdBeforeMs)
{
    for (const Farm& farm : allFarms(transaction.sql)) {
        Id last = 0;
        transaction.sql << "SELECT COALESCE(MAX(id), 0) FROM events WHERE farm_id = :farm"
                           " AND created_ms < :before",
            into(last), use(farm.id), use(createdBeforeMs);
        if (last > 0) {
            pruneEventsTo(transaction, farm.id, last);
        }
    }
}

} // namespace kelvo::store
