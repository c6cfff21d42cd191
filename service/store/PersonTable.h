// One person's data: erasure, deletion of accounts.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/** Names that start like this belong to deleted users. */
inline constexpr const char* deletedUserPrefix = "deleted-user-";

/** Removes the user's inboxes. They must be empty. */
void removeInboxesOf(Transaction& transaction, Id user);

/** Removes up to 1000 positions of the user's work. False if none was left. */
bool eraseTrack(Transaction& transaction, Id user);

/**
 * Deletes a user without inboxes and positions: sessions, uploads and the console that only the
 * user identified. The row keeps the id under another name, because ids are never reused. The audit
 * trail keeps the id.
 */
void deleteUser(Transaction& transaction, const User& user, long long nowMs);

struct WorkPoint
{
    long long number = 0; // the place in the list of all points of the user
    Id console = 0;
    long long timeS = 0;
    double latitudeDeg = 0;
    double longitudeDeg = 0;
    long long receivedMs = 0;
};

/** The positions of the user's work after a number, in the order of consoles and receipt. */
std::vector<WorkPoint> workOf(soci::session& sql, Id user, long long afterNumber, int most);

} // namespace kelvo::store
