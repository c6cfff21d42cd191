// The object that only the bucket of a database has.
#pragma once

#include "service/objects/Bucket.h"
#include "service/store/Database.h"

#include <string>

namespace kelvo {

/** The key of the marker, or of another object in the bucket of this database; empty: none. */
std::string knownObject(soci::session& sql);

/**
 * Throws std::runtime_error if the bucket does not have the object `known`: two stores may have
 * buckets of the same name. Blocks. Errors: RequestRefused, StoreUnavailable.
 */
void requireMarker(const std::string& known, objects::Bucket& bucket);

/** Puts a marker into the bucket if the database knows none. Blocks. Errors: as requireMarker(). */
void setMarker(store::Database& database, objects::Bucket& bucket);

} // namespace kelvo
