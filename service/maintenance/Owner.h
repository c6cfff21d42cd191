// Whose a folder is.
#pragma once

#include <filesystem>

#include <sys/types.h>

namespace kelvo::maintenance {

/**
 * The owner of a folder, to whom things that root makes in it are given: the service runs as that
 * user. Does nothing for anybody but root. Errors: std::system_error.
 */
class Owner
{
public:
    explicit Owner(const std::filesystem::path& folder);

    void take(const std::filesystem::path& path) const;

    /** A folder with all that is in it. */
    void takeAll(const std::filesystem::path& folder) const;

private:
    uid_t user_ = 0;
    gid_t group_ = 0;
    bool isGiven_ = false; // whether anything has to change hands
};

} // namespace kelvo::maintenance
