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

} // namespace kelvo::store
