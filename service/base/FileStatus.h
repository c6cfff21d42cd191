// Size, times and owner of a file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

#include <sys/types.h>

namespace kelvo {

/**
 * Sizes and times have 64 bits on every machine: statx() is used. On some machines stat() has a
 * time_t of 32 bits and fails for a file dated after 2038; so does the C++ library.
 */
struct FileStatus
{
    mode_t mode = 0; // with the kind of file
    uid_t user = 0;
    gid_t group = 0;
    std::uint32_t links = 0;
    std::int64_t sizeBytes = 0;
    std::uint64_t device = 0;
    std::uint64_t node = 0;
    std::int64_t modifiedNs = 0; // since 1970-01-01 UTC, until 2262
    std::int64_t changedNs = 0;
};

/** Follows links. Empty if the file does not exist. Throws std::system_error. */
std::optional<FileStatus> statusOf(const std::filesystem::path& file);

/** Throws std::system_error. */
FileStatus statusOf(int fd);

} // namespace kelvo
