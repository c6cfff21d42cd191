// Durable copies of files; everything here blocks.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace kelvo::maintenance {

struct CopiedFile
{
    std::string sha256; // of what was copied, in hexadecimal
    std::uint64_t sizeBytes = 0;
};

/**
 * Copies a regular file that may grow or be removed meanwhile: what is there when it gets there is
 * copied. The copy has the source's mode and is on the disk, its name is not: sync its folder.
 * Throws std::system_error, also when `to` exists.
 */
CopiedFile copyFile(const std::filesystem::path& from, const std::filesystem::path& to);

/** A file or a folder with all that is in it, if it is there. */
void copyTree(const std::filesystem::path& from, const std::filesystem::path& to);

/** Whether `path` is `folder` or lies in it, links followed as far as they lead to something. */
bool isWithin(const std::filesystem::path& path, const std::filesystem::path& folder);

/** The names in a folder and in all folders below it. */
void syncFolders(const std::filesystem::path& folder);

} // namespace kelvo::maintenance
