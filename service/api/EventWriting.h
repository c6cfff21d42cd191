// The events that changes leave in a farm's log.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"
#include "service/store/ReportTable.h"

namespace kelvo::api {

/** What every entry of the log needs to know. */
struct EventFrame
{
    store::Id farm = 0;
    long long nowMs = 0;
    long long eventsKept = 0; // older ones are dropped; 0: no limit
};

void addFileAdded(store::Transaction& transaction, const EventFrame& frame,
                  const store::Inbox& inbox, const store::File& file);
void addFileRemoved(store::Transaction& transaction, const EventFrame& frame,
                    const store::Inbox& inbox, const store::File& file);

/** The whole farm learns of it, but only those who may read it that it is empty. */
void addInboxAdded(store::Transaction& transaction, const EventFrame& frame,
                   const store::Inbox& inbox);

/** For the office. */
void addConsoleMoved(store::Transaction& transaction, const EventFrame& frame, store::Id console,
                     const store::User& user, const store::Position& position);

} // namespace kelvo::api
