// A farm's projects, inboxes and files, as one user may see them.
#pragma once

#include "service/api/JsonAnswer.h"
#include "service/store/Database.h"
#include "service/store/InboxFiles.h"

namespace kelvo::api {

/** Writes one transaction's state into an answer, row by row. The references outlive it. */
class Snapshot
{
public:
    Snapshot(soci::session& sql, const store::User& user, JsonAnswer& answer)
        : sql_(sql), user_(user), answer_(answer), files_(sql, user.farmId())
    {}

    /** Adds the projects, with "resources". */
    void addProjects();

    /** Adds the inboxes of one project. */
    void addInboxesOf(store::Id project);

    /** Adds the inbox, with "entries" if the user may see them. */
    void addInbox(const store::Inbox& inbox);

private:
    void addFilesWithFetches(store::Id inbox);

    soci::session& sql_;
    const store::User& user_;
    JsonAnswer& answer_;
    store::InboxFiles files_;
};

} // namespace kelvo::api
