#include "service/content/ContentStore.h"

#include "service/base/FileStatus.h"
#include "service/content/FileStamp.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvo::content {

namespace fs = std::filesystem;

namespace {

constexpr const char* linkSuffix = ".new";
constexpr mode_t usedMode = 0600;
constexpr mode_t unusedMode = 0400;

constexpr std::int64_t nsPerMs = 1000000;

/** False if the folder exists already. */
bool makeFolder(const fs::path& folder)
{
    const bool isNew = ::mkdir(folder.c_str(), 0700) == 0;
    if (!isNew && errno != EEXIST) {
        throwErrno("mkdir");
    }
    return isNew;
}

/**
 * Makes the missing folders and syncs their parent, also if no folder is missing. A killed process
 * may have left folders whose names are not on the disk.
 */
void makeFolders(const fs::path& parent, const std::vector<std::string>& names)
{
    std::vector<fs::path> made;
    for (const std::string& name : names) {
        if (makeFolder(parent / name)) {
            made.push_back(parent / name);
        }
    }
    try {
        syncFolder(parent);
    } catch (const std::system_error&) {
        for (const fs::path& folder : made) {
            ::rmdir(folder.c_str()); // a second sync would succeed without effect
        }
        throw;
    }
}

/** The names of the folders of all digests: 00 to ff. */
std::vector<std::string> digestFolders()
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::vector<std::string> names;
    for (const char first : digits) {
        for (const char second : digits) {
            names.push_back({first, second});
        }
    }
    return names;
}

void removeIfThere(const fs::path& file)
{
    if (::unlink(file.c_str()) != 0 && errno != ENOENT) {
        throwErrno("unlink");
    }
}

/** Removes the links that a killed process left when it replaced a content. */
void removeLeftoverLinks(const fs::path& folder)
{
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == linkSuffix) {
            removeIfThere(entry.path());
        }
    }
}

} // namespace

ContentStore::ContentStore(const fs::path& dataFolder, const DiskReserve* reserve)
    : contents_(dataFolder / "content"), uploads_(dataFolder / "uploads"), reserve_(reserve)
{
    makeFolders(dataFolder, {"content", "uploads"});
    makeFolders(contents_, digestFolders()); // now, so that no upload waits for a folder's sync
    for (const auto& folder : fs::directory_iterator(contents_)) {
        if (!fs::is_empty(folder.path())) {
            removeLeftoverLinks(folder.path());
            syncFolder(folder.path());
        }
    }
}

void ContentStore::requireReserve() const
{
    if (reserve_ != nullptr) {
        reserve_->requireWhole();
    }
}

fs::path ContentStore::contentPath(const std::string& sha256) const
{
    return contents_ / sha256.substr(0, 2) / sha256;
}

FileDescriptor ContentStore::openUpload(const std::string& id) const
{
    return openFile(uploads_ / id, O_RDWR | O_CREAT, 0600);
}

FileDescriptor ContentStore::openReceived(const std::string& id) const
{
    return openFile(uploads_ / id, O_RDONLY);
}

std::uint64_t ContentStore::uploadSize(const std::string& id) const
{
    const auto status = statusOf(uploads_ / id);
    return status ? static_cast<std::uint64_t>(status->sizeBytes) : 0;
}

std::optional<std::int64_t> ContentStore::uploadChangedMs(const std::string& id) const
{
    const auto status = statusOf(uploads_ / id);
    return status ? std::optional(status->changedNs / nsPerMs) : std::nullopt;
}

void ContentStore::removeUpload(const std::string& id) const
{
    removeIfThere(uploads_ / id);
}

void ContentStore::discardUpload(const std::string& id) const noexcept
{
    try {
        const auto status = statusOf(uploads_ / id);
        if (status && status->links == 1) { // otherwise the file is also an adopted content
            // Emptied first: the file stays empty even if its name comes back after a power
            // failure.
            [[maybe_unused]] const int emptied = ::truncate((uploads_ / id).c_str(), 0);
        }
        removeUpload(id);
        syncFolder(uploads_);
    } catch (const std::exception&) {
        // The disk accepts no changes, so nothing can be acknowledged either.
    }
}

bool ContentStore::adopt(const std::string& id, const std::string& sha256) const
{
    const fs::path target = contentPath(sha256);
    if (::access(target.c_str(), F_OK) == 0 && renew(id, target)) {
        syncFolder(target.parent_path());
        return false;
    }
    if (::rename((uploads_ / id).c_str(), target.c_str()) != 0) {
        throwErrno("rename");
    }
    try {
        syncFolder(target.parent_path());
    } catch (const std::system_error&) {
        ::unlink(
            target.c_str()); // its name may not be on the disk, and no later sync would find that
        throw;
    }
    return true;
}

/**
 * Replaces the equal content by the upload's file, which keeps its own name too. False if the file
 * system has no links and the existing content is damaged.
 */
bool ContentStore::renew(const std::string& id, const fs::path& target) const
{
    fs::path link = target;
    link += linkSuffix;
    removeIfThere(link);
    if (::link((uploads_ / id).c_str(), link.c_str()) != 0) {
        if (errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS && errno != EMLINK) {
            throwErrno("link");
        }
        return digestOf(openFile(target, O_RDONLY).get()) == target.filename();
    }
    if (::rename(link.c_str(), target.c_str()) != 0) {
        throwErrno("rename");
    }
    removeIfThere(link); // rename() does nothing if both names are of one file
    return true;
}

void ContentStore::revertToUpload(const std::string& id, const std::string& sha256) const
{
    if (::rename(contentPath(sha256).c_str(), (uploads_ / id).c_str()) != 0) {
        throwErrno("rename");
    }
}

FileDescriptor ContentStore::open(const std::string& sha256) const
{
    return openFile(contentPath(sha256), O_RDONLY);
}

void ContentStore::remove(const std::string& sha256) const
{
    removeIfThere(contentPath(sha256));
}

std::optional<ContentStore::FileTimes> ContentStore::fileTimesOf(const std::string& sha256) const
{
    const auto status = statusOf(contentPath(sha256));
    if (!status) {
        return std::nullopt;
    }
    FileTimes times{status->modifiedNs / nsPerMs, std::nullopt};
    if ((status->mode & S_IWUSR) == 0) {
        times.unusedSinceMs = status->changedNs / nsPerMs;
    }
    return times;
}

void ContentStore::markUnused(const std::string& sha256, bool isUnused) const
{
    if (::chmod(contentPath(sha256).c_str(), isUnused ? unusedMode : usedMode) != 0) {
        throwErrno("chmod");
    }
}

std::vector<std::string> ContentStore::uploadIds() const
{
    std::vector<std::string> ids;
    for (const auto& entry : fs::directory_iterator(uploads_)) {
        ids.push_back(entry.path().filename());
    }
    return ids;
}

std::vector<std::string> ContentStore::digests() const
{
    std::vector<std::string> digests;
    for (const auto& folder : fs::directory_iterator(contents_)) {
        for (const auto& entry : fs::directory_iterator(folder.path())) {
            if (entry.path().extension() != linkSuffix) {
                digests.push_back(entry.path().filename());
            }
        }
    }
    return digests;
}

} // namespace kelvo::content
