// Checks a service whose rows are on a database server and whose bytes are in a bucket.
#pragma once

#include "service/ContentsPlace.h"
#include "service/maintenance/Progress.h"
#include "service/maintenance/Verify.h"

#include <string>

namespace kelvo::maintenance {

/**
 * Reads all rows and all chunks and writes nothing. Instances may serve meanwhile. An object that
 * no row names is not found. `server` is the URL of the database. Throws StartRefused if the schema
 * is not the schema of this program or the contents are in another place, std::exception if the
 * check is not possible.
 */
VerifyReport verifyFleet(const std::string& server, const ContentsPlace& place, Progress& progress);

} // namespace kelvo::maintenance
