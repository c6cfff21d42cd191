// Files that nobody has written to for long.
#include "transfer/StaleFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <cstdint>
#include <memory>

namespace kesdk::impl {

namespace {

// Not with std::filesystem: its library may have been built for times of 32 bits.
constexpr std::int64_t kLongestAgeS = 7 * 24 * 60 * 60;

struct CloseFolder
{
    void operator()(DIR* folder) const { ::closedir(folder); }
};

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

std::vector<std::string> StaleFiles(const std::string& folder,
                                    const std::function<bool(std::string_view)>& isMeant)
{
    timespec now{};
    if (::clock_gettime(CLOCK_REALTIME, &now) != 0)
        return {};
    std::vector<std::string> files = FilesIn(folder, isMeant);
    const auto isYoung = [now](const std::string& path) {
        struct stat status = {};
        return ::lstat(path.c_str(), &status) != 0 ||
               static_cast<std::int64_t>(now.tv_sec) - status.st_mtim.tv_sec <= kLongestAgeS;
    };
    files.erase(std::remove_if(files.begin(), files.end(), isYoung), files.end());
    return files;
}

} // namespace kesdk::impl
