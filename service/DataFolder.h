// The data folder of one running service.
#pragma once

#include "service/base/Files.h"

#include <filesystem>
#include <stdexcept>
#include <string>

namespace kelvo {

/** A file of this name in the folder marks an unfinished restore. */
inline constexpr const char* unfinishedRestoreName = "restore.unfinished";

/** A file of this name says where the service of the folder has moved. No service starts there. */
inline constexpr const char* movedName = "moved.to";

/** The reason why the service cannot start, in one line for a person. */
class StartRefused : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** Whether the folders content or uploads in this folder hold files. Blocks. */
bool holdsContents(const std::filesystem::path& folder);

/** Created if missing, locked during this object's life. Errors: StartRefused. */
class DataFolder
{
public:
    /**
     * Waits for a backup or a check that reads the folder now, by default for ten seconds. Does not
     * wait for another service or a restore.
     */
    explicit DataFolder(std::filesystem::path path, const LockWait& wait = waitTenSeconds());

    const std::filesystem::path& path() const { return path_; }

    /** Writes the service's addresses to endpoints.json. The destructor removes the file. */
    void announce(const std::string& api, const std::string& metrics);

    ~DataFolder();
    DataFolder(const DataFolder&) = delete;
    DataFolder& operator=(const DataFolder&) = delete;

private:
    void lock(const LockWait& wait);

    std::filesystem::path path_;
    FileDescriptor lock_;
    bool announced_ = false;
};

} // namespace kelvo
