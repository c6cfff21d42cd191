// Checks a whole data folder: database, contents, uploads, and each against the others.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kelvo::maintenance {

struct VerifyReport
{
    std::vector<std::string> damages;   // something is lost or wrong
    std::vector<std::string> leftovers; // of a crash; the service clears them away by itself
    bool serviceRuns = false;           // then leftovers cannot be told from work in progress
    std::uint64_t contents = 0;
    std::uint64_t bytes = 0;

    bool isClean() const { return damages.empty(); }
};

/**
 * Reads everything and writes nothing there. Beside a running service what looks wrong is looked at
 * twice, because it may just be going. Throws StartRefused for a schema that is not this program's,
 * std::exception when it cannot judge at all.
 */
VerifyReport verify(const std::filesystem::path& dataFolder);

} // namespace kelvo::maintenance
