// The folder that belongs to one running service.
#pragma once

#include "service/base/Files.h"

#include <filesystem>
#include <functional>
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
    /** Whether to go on waiting for whoever has the lock for a short time. Called again and again,
     * and blocks in between. */
    using Wait = std::function<bool()>;

    /** A backup or a check that reads the folder at this moment is waited for, ten seconds unless
     * said otherwise; another service or a restore is not. */
    explicit DataFolder(std::filesystem::path path, const Wait& wait = waitAWhile());

    static Wait waitAWhile();

    const std::filesystem::path& path() const { return path_; }

    /** Tells others where the service listens; gone again when this dies. */
    void announce(const std::string& api, const std::string& metrics);

    ~DataFolder();
    DataFolder(const DataFolder&) = delete;
    DataFolder& operator=(const DataFolder&) = delete;

private:
    void lock(const Wait& wait);

    std::filesystem::path path_;
    FileDescriptor lock_;
    bool announced_ = false;
};

} // namespace kelvo
