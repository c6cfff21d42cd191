// Each farm's log of events.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <optional>
#include <vector>

namespace kelvo::store {

/** Appends with the farm's next id; listeners get it when the transaction is committed. */
void addEvent(Transaction& transaction, Event event);

/** What a cursor can be compared with. */
struct EventBounds
{
    Id newest = 0; // the id of the newest event, 0 if there never was one
    Id pruned = 0; // events up to here are no longer kept

    bool contains(Id cursor) const { return cursor >= pruned && cursor <= newest; }
};

EventBounds eventBounds(soci::session& sql, Id farm);

/** The events after the cursor in order, at most `limit`. */
std::vector<Event> eventsAfter(soci::session& sql, Id farm, Id cursor, int limit);

/** Drops one that a later one supersedes; cursors before it stay good. */
void dropEvent(Transaction& transaction, Id farm, Id event);

/** Drops the farm's oldest events if it has more than so many. */
void pruneEventsToCount(Transaction& transaction, Id farm, long long most);

/** Drops the farm's events up to and including this one. */
void pruneEventsTo(Transaction& transaction, Id farm, Id upTo);

/** Drops all farms' events from before that time. */
void pruneEventsBefore(Transaction& transaction, long long createdBeforeMs);

} // namespace kelvo::store
