// A consistent copy of a data folder.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kelvo::maintenance {

inline constexpr const char* manifestName = "backup.json";
inline constexpr int manifestFormat = 1;

struct CopyReport
{
    std::vector<std::string> damages; // contents that are missing or wrong at the source
    std::uint64_t contents = 0;
    std::uint64_t bytes = 0;
};

/**
 * Copies the folder to one that is not there yet, or empty, while a service may run on it. It gets
 * its name only when it is complete and on the disk; until then it is TO.part-…, which a failure
 * removes. Throws StartRefused for what cannot be done, std::exception for what failed.
 */
CopyReport backUp(const std::filesystem::path& dataFolder, const std::filesystem::path& to);

} // namespace kelvo::maintenance
