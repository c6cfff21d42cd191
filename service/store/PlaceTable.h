// The place that holds the bytes of the database's files and uploads.
#pragma once

#include "service/store/Database.h"

#include <string>

namespace kelvo::store {

/** The recorded name; empty: the data folder. */
std::string contentsPlace(soci::session& sql);

/**
 * Whether no file and no upload needs the recorded place. An object store stays the place for good,
 * because its tables name its objects.
 */
bool mayMoveContents(soci::session& sql);

void setContentsPlace(soci::session& sql, const std::string& place);

/** The key of an object that only the bucket of this database has; empty: none. */
std::string contentsMarker(soci::session& sql);

/** Keeps a marker that another instance has set. */
void setContentsMarker(Transaction& transaction, const std::string& key);

/**
 * The note of an unfinished move into this database, which begins with the serviceIdentity() of the
 * source; empty: none. No instance may start meanwhile.
 */
std::string unfinishedMove(soci::session& sql);

/** Begins or continues a move into this database; empty: ends it. */
void setUnfinishedMove(Transaction& transaction, const std::string& note);

/** Tells services apart: the time when the first user was made. Empty: no user. */
std::string serviceIdentity(soci::session& sql);

} // namespace kelvo::store
