// The identity of a file and its state, and the digest of its bytes.
#pragma once

#include <cstdint>
#include <string>

namespace kelvo::content {

/**
 * Identifies a file and its state for the file system. Any write changes the stamp; a damaged disk
 * block does not.
 */
struct FileStamp
{
    std::uint64_t device = 0;
    std::uint64_t node = 0;
    std::int64_t sizeBytes = 0;
    std::int64_t modifiedNs = 0;
    std::int64_t changedNs = 0;

    bool operator==(const FileStamp&) const = default;
};

/** Throws std::system_error. */
FileStamp stampOf(int fd);

/** Returns the SHA-256 of a whole file in hexadecimal. Blocks. Throws std::system_error. */
std::string digestOf(int fd);

} // namespace kelvo::content
