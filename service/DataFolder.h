// The folder that belongs to one running service.
#pragma once

#include "service/base/Files.h"

#include <filesystem>
#include <stdexcept>
#include <string>

namespace kelvo {

/** A file of this name in the folder: a restore began and has not come to its end. */
inline constexpr const char* unfinishedRestoreName = "restore.unfinished";

/** Why the service cannot start, in one line for a person. */
class StartRefused : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** Made when it is not there, locked as long as this lives. Errors: StartRefused. */
class DataFolder
{
public:
    explicit DataFolder(std::filesystem::path path);

    const std::filesystem::path& path() const { return path_; }

    /** Tells others where the service listens; gone again when this dies. */
    void announce(const std::string& api, const std::string& metrics);

    ~DataFolder();
    DataFolder(const DataFolder&) = delete;
    DataFolder& operator=(const DataFolder&) = delete;

private:
    std::filesystem::path path_;
    FileDescriptor lock_;
    bool announced_ = false;
};

} // namespace kelvo
