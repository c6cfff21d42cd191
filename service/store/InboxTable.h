// The user inboxes of a farm's projects.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <functional>
#include <optional>
#include <vector>

namespace kelvo::store {

struct AddedInbox
{
    Inbox inbox;
    bool isNew = false;
};

/** Returns the user's inbox in the project; adds it if it is missing. */
AddedInbox ensureInbox(Transaction& transaction, const User& user, Id project, long long nowMs);

std::optional<Inbox> inboxById(soci::session& sql, Id farm, Id inbox);

/** 0 if the inbox does not exist. */
Id ownerOf(soci::session& sql, Id farm, Id inbox);

/** The user's own inboxes, at most one in each project, in the order of their ids. */
std::vector<Inbox> inboxesOf(soci::session& sql, const User& user);

/** The inboxes of one project in the order of their ids, without a copy of all. */
void eachInboxOf(soci::session& sql, Id farm, Id project,
                 const std::function<void(const Inbox&)>& visit);

} // namespace kelvo::store
