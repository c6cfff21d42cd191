// Each farm's log of events.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <optional>
#include <vector>

namespace kelvo::store {

/** Appends an event with the farm's next id. Listeners get it after the commit. */
void addEvent(Transaction& transaction, Event event);

/** The range of valid cursors. */
struct EventBounds
{
    Id newest = 0; // the id of the newest event, 0 without events
    Id pruned = 0; // events up to this id have been pruned

    bool contains(Id cursor) const { return cursor >= pruned && cursor <= newest; }
};

EventBounds eventBounds(soci::session& sql, Id farm);

/** The events after the cursor, in order, at most `limit`. */
std::vector<Event> eventsAfter(soci::session& sql, Id farm, Id cursor, int limit);

/**
 * Removes an event that a later event replaces. A reader whose cursor is before it gets the later
 * event only; its cursor stays valid.
 */
void dropEvent(Transaction& transaction, Id farm, Id event);

/** Removes the farm's oldest events above `most`. */
void pruneEventsToCount(Transaction& transaction, Id farm, long long most);

/** Removes the farm's events up to and including `upTo`. */
void pruneEventsTo(Transaction& transaction, Id farm, Id upTo);

/** Removes all farms' events that are older than this time. */
void pruneEventsBefore(Transaction& transaction, long long createdBeforeMs);

} // namespace kelvo::store
