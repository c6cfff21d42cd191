#include "transfer/StaleFiles.h"

#include "base/BuildTime.h"
#include "http/ConsoleFacts.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace kesdk::impl {

namespace {

// Files that the previous version wrote have later dates than this. A clock that was never set
// shows a date that is years earlier.
constexpr std::int64_t kLongestBeforeBuildS = 100 * kDayS;

struct CloseFolder
{
    void operator()(DIR* folder) const { ::closedir(folder); }
};

std::int64_t DateNs(const std::string& path)
{
    constexpr std::int64_t kNsInS = 1'000'000'000;
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0
               ? status.st_mtim.tv_sec * kNsInS + status.st_mtim.tv_nsec
               : 0;
}

} // namespace

std::vector<std::string> FilesIn(const std::string& folder,
                                 const std::function<bool(std::string_view)>& isMeant)
{
    std::vector<std::string> files;
    const std::unique_ptr<DIR, CloseFolder> opened(::opendir(folder.c_str()));
    if (!opened)
        return files;
    const std::string start = folder.back() == '/' ? folder : folder + '/';
    while (const dirent* entry = ::readdir(opened.get())) {
        struct stat status = {};
        if (isMeant(entry->d_name) &&
            ::fstatat(::dirfd(opened.get()), entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(status.st_mode))
            files.push_back(start + entry->d_name);
    }
    return files;
}

// Not std::filesystem: its library may use times of 32 bits.
bool RepairDateAndCheckAge(const std::string& path, std::int64_t nowS, std::int64_t longestAgeS)
{
    struct stat status = {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    const std::int64_t writtenS = status.st_mtim.tv_sec;
    if (writtenS < BuildTimeS() - kLongestBeforeBuildS || writtenS > nowS + kDayS) {
        const timespec now[2] = {{0, UTIME_NOW}, {0, UTIME_NOW}};
        ::utimensat(AT_FDCWD, path.c_str(), now, AT_SYMLINK_NOFOLLOW);
        return false;
    }
    return nowS - writtenS > longestAgeS;
}

std::vector<std::string> StaleFiles(const std::string& folder,
                                    const std::function<bool(std::string_view)>& isMeant,
                                    std::int64_t nowS, std::int64_t longestAgeS)
{
    if (IsClockWrong(nowS, std::nullopt))
        return {};
    std::vector<std::string> files = FilesIn(folder, isMeant);
    const auto isYoung = [=](const std::string& path) {
        return !RepairDateAndCheckAge(path, nowS, longestAgeS);
    };
    files.erase(std::remove_if(files.begin(), files.end(), isYoung), files.end());
    return files;
}

std::vector<std::string> AllButNewest(std::vector<std::string> files, std::size_t most)
{
    if (files.size() <= most)
        return {};
    std::vector<std::pair<std::int64_t, std::string>> byDate;
    for (std::string& path : files) {
        const std::int64_t date = DateNs(path);
        byDate.emplace_back(date, std::move(path));
    }
    std::sort(byDate.begin(), byDate.end());
    byDate.resize(byDate.size() - most);
    files.clear();
    for (auto& [date, path] : byDate)
        files.push_back(std::move(path));
    return files;
}

bool MustSearch(std::set<std::string>& searched, const std::string& folder, std::int64_t nowS)
{
    return !IsClockWrong(nowS, std::nullopt) && searched.insert(folder).second;
}

} // namespace kesdk::impl
