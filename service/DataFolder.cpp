#include "service/DataFolder.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace kelvo {

namespace fs = std::filesystem;

namespace {

bool holdsFiles(const fs::path& folder)
{
    std::error_code none;
    const fs::recursive_directory_iterator entries(folder, none);
    return std::any_of(begin(entries), end(entries),
                       [](const auto& entry) { return entry.is_regular_file(); });
}

} // namespace

bool holdsContents(const fs::path& folder)
{
    return holdsFiles(folder / "content") || holdsFiles(folder / "uploads");
}

DataFolder::DataFolder(fs::path path, const LockWait& wait) : path_(std::move(path))
{
    std::error_code error;
    const bool isNew = fs::create_directories(path_, error);
    if (error) {
        throw StartRefused("cannot create the data folder " + path_.string() + ": " +
                           error.message());
    }
    path_ = fs::canonical(path_);
    if (isNew) {
        fs::permissions(path_, fs::perms::owner_all);
    }
    try {
        lock_ = openFile(path_ / "lock", O_RDWR | O_CREAT, 0600);
    } catch (const std::system_error& failure) {
        throw StartRefused("the data folder " + path_.string() +
                           " is not writable: " + failure.code().message());
    }
    lock(wait);
}

void DataFolder::lock(const LockWait& wait)
{
    while (::flock(lock_.get(), LOCK_EX | LOCK_NB) != 0) {
        // Readers share the lock.
        if (::flock(lock_.get(), LOCK_SH | LOCK_NB) != 0) {
            throw StartRefused("another instance runs on the data folder " + path_.string());
        }
        ::flock(lock_.get(), LOCK_UN);
        if (!wait()) {
            throw StartRefused("a backup or a check reads the data folder " + path_.string());
        }
    }
}

void DataFolder::announce(const std::string& api, const std::string& metrics)
{
    const nlohmann::ordered_json document{{"api", api}, {"metrics", metrics}, {"pid", ::getpid()}};
    replaceFile(path_ / "endpoints.json", document.dump() + "\n", 0644);
    announced_ = true;
}

DataFolder::~DataFolder()
{
    if (announced_) {
        std::error_code ignored;
        fs::remove(path_ / "endpoints.json", ignored);
    }
}

} // namespace kelvo
