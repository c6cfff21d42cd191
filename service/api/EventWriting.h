// Appends the events of changes to a farm's log.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"
#include "service/store/ReportTable.h"

namespace kelvo::api {

/** The data that all events need. */
struct EventFrame
{
    store::Id farm = 0;
    long long nowMs = 0;
    long long eventsKept = 0; // older events are pruned; 0: no limit
};

/**
 * Adds file-fetched too if a console fetched the file earlier: before the file went into the bin,
 * or under another name.
 */
void addFileAdded(store::Transaction& transaction, const EventFrame& frame,
                  const store::Inbox& inbox, const store::File& file);
void addFileRemoved(store::Transaction& transaction, const EventFrame& frame,
                    const store::Inbox& inbox, const store::File& file);

/** For the office: the newest fetch of the file. Consoles do not get the event. */
void addFileFetched(store::Transaction& transaction, const EventFrame& frame,
                    const store::Inbox& inbox, const store::File& file);

/** The whole farm gets the event. Only users who may read the inbox get its (empty) entries. */
void addInboxAdded(store::Transaction& transaction, const EventFrame& frame,
                   const store::Inbox& inbox);

/** For the office: what it lists beside the files has changed. Has no data: read it again. */
void addPeopleChanged(store::Transaction& transaction, const EventFrame& frame);
void addBinChanged(store::Transaction& transaction, const EventFrame& frame);

/** For the office. */
void addConsoleMoved(store::Transaction& transaction, const EventFrame& frame, store::Id console,
                     const store::User& user, const store::Position& position);
void addConsoleRemoved(store::Transaction& transaction, const EventFrame& frame, store::Id console);

} // namespace kelvo::api
