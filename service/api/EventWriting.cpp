#include "service/api/EventWriting.h"

#include "service/api/Documents.h"
#include "service/base/Time.h"
#include "service/store/ConsoleTable.h"
#include "service/store/EventTable.h"
#include "service/store/FetchTable.h"

namespace kelvo::api {

namespace {

void append(store::Transaction& transaction, const EventFrame& frame, store::Event event)
{
    event.farm = frame.farm;
    event.createdMs = frame.nowMs;
    store::addEvent(transaction, std::move(event));
    if (frame.eventsKept > 0) {
        store::pruneEventsToCount(transaction, frame.farm, frame.eventsKept);
    }
}

Json fileEvent(const store::Inbox& inbox, Json entry)
{
    return {{"container", {{"id", inbox.id}, {"kind", "user-inbox"}, {"project", inbox.project}}},
            {"entry", std::move(entry)}};
}

void addFileEvent(store::Transaction& transaction, const EventFrame& frame, const char* name,
                  const store::Inbox& inbox, const store::File& file)
{
    const Json data = fileEvent(inbox, toJson(file));
    append(transaction, frame,
           {.name = name, .owner = inbox.ownerId, .fullData = data.dump(), .commonData = {}});
}

} // namespace

void addFileAdded(store::Transaction& transaction, const EventFrame& frame,
                  const store::Inbox& inbox, const store::File& file)
{
    addFileEvent(transaction, frame, "file-added", inbox, file);
    addFileFetched(transaction, frame, inbox, file);
}

void addFileRemoved(store::Transaction& transaction, const EventFrame& frame,
                    const store::Inbox& inbox, const store::File& file)
{
    addFileEvent(transaction, frame, "file-removed", inbox, file);
}

void addFileFetched(store::Transaction& transaction, const EventFrame& frame,
                    const store::Inbox& inbox, const store::File& file)
{
    const auto fetch = store::lastFetchOf(transaction.sql, frame.farm, file.id);
    if (!fetch) {
        return;
    }
    Json entry = toJson(file);
    addFetch(entry, *fetch);
    append(transaction, frame,
           {.name = "file-fetched", .fullData = fileEvent(inbox, entry).dump(), .commonData = {}});
}

void addInboxAdded(store::Transaction& transaction, const EventFrame& frame,
                   const store::Inbox& inbox)
{
    const Json container{{"id", inbox.project}, {"kind", "project"}};
    const Json common{{"container", container}, {"entry", toJson(inbox)}};
    Json full = common;
    full["entry"]["entries"] = Json::array();
    append(transaction, frame,
           {.name = "inbox-added",
            .owner = inbox.ownerId,
            .fullData = full.dump(),
            .commonData = common.dump()});
}

void addPeopleChanged(store::Transaction& transaction, const EventFrame& frame)
{
    append(transaction, frame, {.name = "people-changed", .fullData = "{}", .commonData = {}});
}

void addBinChanged(store::Transaction& transaction, const EventFrame& frame)
{
    append(transaction, frame, {.name = "bin-changed", .fullData = "{}", .commonData = {}});
}

void addConsoleMoved(store::Transaction& transaction, const EventFrame& frame, store::Id console,
                     const store::User& user, const store::Position& position)
{
    // Consoles move all day. The log keeps only the last move of each console, so that moves
    // neither fill the log nor push out other events.
    store::dropEvent(transaction, frame.farm, store::lastMoveOf(transaction.sql, console));
    const Json data{{"console", console},
                    {"user", {{"id", user.id}, {"name", user.name}}},
                    {"time_s", position.timeS},
                    {"latitude", position.latitudeDeg},
                    {"longitude", position.longitudeDeg},
                    {"received_at", rfc3339(position.receivedMs)}};
    append(transaction, frame,
           {.name = "console-moved", .fullData = data.dump(), .commonData = {}});
    store::setLastMove(transaction, console, transaction.events.back().id);
}

void addConsoleRemoved(store::Transaction& transaction, const EventFrame& frame, store::Id console)
{
    const Json data{{"console", console}};
    append(transaction, frame,
           {.name = "console-removed", .fullData = data.dump(), .commonData = {}});
}

} // namespace kelvo::api
