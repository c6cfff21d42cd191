// Checks a whole data folder: the database, the contents, the uploads, and how they fit together.
#pragma once

#include "service/ContentsPlace.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::maintenance {

struct VerifyReport
{
    std::vector<std::string> damages;   // something is lost or wrong
    std::vector<std::string> leftovers; // of a crash; the service removes them
    std::string damagedBucket;          // which has damaged contents or uploads; empty: none
    bool serviceRuns = false;           // leftovers cannot be told from work in progress
    std::uint64_t contents = 0;
    std::uint64_t bytes = 0;

    bool isClean() const { return damages.empty(); }
};

/**
 * Reads everything and writes nothing there. Beside a running service a damage counts only if two
 * passes find it, because the service may remove files between the passes. `place` is needed if the
 * contents are in a bucket; then all their chunks are read. Throws StartRefused if the schema is
 * not the schema of this program or the contents are in another place, std::exception if the check
 * is not possible.
 */
VerifyReport verify(const std::filesystem::path& dataFolder,
                    const std::optional<ContentsPlace>& place = std::nullopt);

} // namespace kelvo::maintenance
