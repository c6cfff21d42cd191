// One person's data: erasure, deletion of accounts and farms.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/** Names that start like this belong to deleted users. */
inline constexpr const char* deletedUserPrefix = "deleted-user-";

/** Whether the user's inboxes or the bin hold files of the user. */
bool ownsFiles(soci::session& sql, Id user);

/** Moves all files of an inbox, also those in the bin, to another inbox of the farm. */
void moveFiles(Transaction& transaction, Id farm, Id from, Id to);

/** Removes the user's inboxes. They must be empty. */
void removeInboxesOf(Transaction& transaction, Id user);

/** Removes the positions of the user's work. */
void eraseTrack(Transaction& transaction, Id user);

/**
 * Deletes a user without inboxes: sessions, uploads, positions and the console that only the user
 * identified. The row keeps the id under another name, because ids are never reused. The audit
 * trail keeps the id.
 */
void deleteUser(Transaction& transaction, const User& user, long long nowMs);

/** Deletes a farm with its users, files, consoles and events. The audit trail stays. */
void deleteFarm(Transaction& transaction, Id farm);

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
