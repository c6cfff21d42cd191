// Durable copies of files; everything here blocks.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

namespace kelvo::maintenance {

struct CopiedFile
{
    std::string sha256; // of the copied bytes, in hexadecimal
    std::uint64_t sizeBytes = 0;
};

/** The source of a copy is missing or cannot be read. */
class CannotRead : public std::system_error
{
public:
    using std::system_error::system_error;
};

/** Throws CannotRead with errno. */
[[noreturn]] void throwCannotRead(const char* what);

/**
 * Copies a regular file that may grow or be removed meanwhile: the copy ends where the read finds
 * the end. The copy has the source's mode and is on the disk, but its name is not: sync its folder.
 * Throws CannotRead after it has removed the target; for the target std::system_error, also if `to`
 * exists.
 */
CopiedFile copyFile(const std::filesystem::path& from, const std::filesystem::path& to);

/** Copies a file, or a folder with its content. Does nothing if `from` does not exist. */
void copyTree(const std::filesystem::path& from, const std::filesystem::path& to);

/**
 * Whether `path` is `folder` or is inside it. Links are followed as far as they lead to something.
 */
bool isWithin(const std::filesystem::path& path, const std::filesystem::path& folder);

/** Syncs the names in a folder and in all folders below it. */
void syncFolders(const std::filesystem::path& folder);

} // namespace kelvo::maintenance
