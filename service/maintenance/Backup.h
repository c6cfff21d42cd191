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
    std::vector<std::string> damages; // contents that are missing or damaged at the source
    std::uint64_t contents = 0;
    std::uint64_t bytes = 0;
    std::string bucket; // has the contents, which are not copied; empty: all contents are copied
};

/**
 * Copies the data folder to a folder that is missing or empty. A service may run meanwhile. The
 * copy is made as TO.part-… and gets its name when it is complete and on the disk; a failure
 * removes the part. Contents in a bucket are not copied. Throws StartRefused if the backup is not
 * possible, std::exception if it failed.
 */
CopyReport backUp(const std::filesystem::path& dataFolder, const std::filesystem::path& to);

} // namespace kelvo::maintenance
