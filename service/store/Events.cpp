// Each farm's log of events.
#include "service/store/Events.h"

#include "service/store/Errors.h"
#include "service/store/Farms.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;
using soci::use;

void addEvent(Transaction& transaction, Event event)
{
    soci::session& sql = transaction.sql;
    // Updating the farm's row first makes writers of one farm wait for each other, so that events
    // become visible in the order of their ids.
    sql << "UPDATE farms SET last_event = last_event + 1 WHERE id = :farm", use(event.farm);
    sql << "SELECT last_event FROM farms WHERE id = :farm", into(event.id), use(event.farm);
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

void pruneEventsTo(Transaction& transaction, Id farm, Id upTo)
{
    transaction.sql << "DELETE FROM events WHERE farm_id = :farm AND id <= :upTo", use(farm),
        use(upTo);
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
