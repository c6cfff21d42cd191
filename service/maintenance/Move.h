// Moves a one-machine service to a database on a server and a bucket.
#pragma once

#include "service/ContentsPlace.h"
#include "service/maintenance/Progress.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kelvo::maintenance {

struct MoveReport
{
    std::vector<std::string> damages; // with damages the service has not moved
    std::string damagedBucket;        // which has the damages; empty: the source has them
    std::uint64_t tables = 0;
    std::uint64_t rows = 0;
    std::uint64_t contents = 0; // all are read back from the bucket and checked
    std::uint64_t bytes = 0;
    bool hadMoved = false; // by an earlier call; nothing was done
};

/**
 * The order of the steps:
 *
 * 1. The target notes the source. From now on no instance starts on the target.
 * 2. Contents and the received parts of uploads are copied into the bucket.
 * 3. One transaction writes all rows.
 * 4. All contents are read back from the bucket.
 * 5. The source gets the mark `moved.to`. From now on no service starts on the source.
 * 6. The target opens for instances.
 *
 * A killed process loses at most the rows of step 3; a later call continues. The source may serve
 * between two calls. Only step 5 changes the source. Its folder is locked during the call.
 *
 * `server` is the URL of the database. Blocks. Throws StartRefused if the source serves, is no
 * one-machine service or has moved to another place, or if the target has another service;
 * std::exception if a step failed.
 */
MoveReport moveService(const std::filesystem::path& from, const std::string& server,
                       const ContentsPlace& contents, Progress& progress);

} // namespace kelvo::maintenance
