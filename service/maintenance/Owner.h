// The owner of a folder.
#pragma once

#include <filesystem>

#include <sys/types.h>

namespace kelvo::maintenance {

/**
 * Gives files that root makes in a folder to the folder's owner, because the service runs as that
 * user. Does nothing if the caller is not root. Errors: std::system_error.
 */
class Owner
{
public:
    explicit Owner(const std::filesystem::path& folder);

    void applyTo(const std::filesystem::path& path) const;

    /** Applies to a folder and its whole content. */
    void applyToAll(const std::filesystem::path& folder) const;

private:
    uid_t user_ = 0;
    gid_t group_ = 0;
    bool changesOwner_ = false; // whether files need another owner
};

} // namespace kelvo::maintenance
