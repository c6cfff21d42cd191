// Durable copies of files; everything here blocks.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

namespace kelvo::maintenance {

struct CopiedFile
{
    std::string sha256; // of what was copied, in hexadecimal
    std::uint64_t sizeBytes = 0;
};

/** The source of a copy cannot be read, or is not there; nothing stands at the target. */
class CannotRead : public std::system_error
{
public:
    using std::system_error::system_error;
};

/**
 * Copies a regular file that may grow or be removed meanwhile: what is there when it gets there is
 * copied. The copy has the source's mode and is on the disk, its name is not: sync its folder.
 * Throws CannotRead; for the target std::system_error, also when `to` exists.
 */
CopiedFile copyFile(const std::filesystem::path& from, const std::filesystem::path& to);

/** A file or a folder with all that is in it, if it is there. */
void copyTree(const std::filesystem::path& from, const std::filesystem::path& to);

/** Whether `path` is `folder` or lies in it, links followed as far as they lead to something. */
bool isWithin(const std::filesystem::path& path, const std::filesystem::path& folder);

/** The names in a folder and in all folders below it. */
void syncFolders(const std::filesystem::path& folder);

} // namespace kelvo::maintenance
