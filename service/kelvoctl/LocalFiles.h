// The user's local files. An error text names the file and the system's reason.
#pragma once

#include "service/base/FileStatus.h"
#include "service/base/Files.h"

#include <filesystem>
#include <optional>
#include <string_view>

#include <sys/types.h>

namespace kelvoctl {

// All functions throw UsageError if another path can help, otherwise LocalFailure.

kelvo::FileDescriptor openLocalFile(const std::filesystem::path& path, int flags, mode_t mode = 0);

// Empty if the file is missing.
std::optional<kelvo::FileStatus> localFileStatus(const std::filesystem::path& path);

// Writes all bytes. `path` is only for the error text.
void writeLocalFile(const kelvo::FileDescriptor& file, std::string_view bytes,
                    const std::filesystem::path& path);

// Renames `temporary`, which was written through `file`, to `target`: fsync, rename, fsync of the
// folder. After a crash `target` is the old file or the new file.
void commitLocalFile(const kelvo::FileDescriptor& file, const std::filesystem::path& temporary,
                     const std::filesystem::path& target);

// Replaces a private file (mode 0600) in one step. Creates a missing folder with mode 0700.
void replacePrivateFile(const std::filesystem::path& target, std::string_view content);

} // namespace kelvoctl
