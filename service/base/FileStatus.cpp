#include "service/base/FileStatus.h"

#include "service/base/Files.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

namespace kelvo {

namespace {

std::int64_t inNs(const statx_timestamp& time)
{
    return std::int64_t{time.tv_sec} * 1000000000 + time.tv_nsec;
}

FileStatus toFileStatus(const struct statx& found)
{
    FileStatus status;
    status.mode = found.stx_mode;
    status.user = found.stx_uid;
    status.group = found.stx_gid;
    status.links = found.stx_nlink;
    status.sizeBytes = static_cast<std::int64_t>(found.stx_size);
    status.device = std::uint64_t{found.stx_dev_major} << 32 | found.stx_dev_minor;
    status.node = found.stx_ino;
    status.modifiedNs = inNs(found.stx_mtime);
    status.changedNs = inNs(found.stx_ctime);
    return status;
}

} // namespace

std::optional<FileStatus> statusOf(const std::filesystem::path& file)
{
    struct statx found = {};
    if (::statx(AT_FDCWD, file.c_str(), 0, STATX_BASIC_STATS, &found) == 0) {
        return toFileStatus(found);
    }
    if (errno != ENOENT) {
        throwErrno("statx");
    }
    return std::nullopt;
}

FileStatus statusOf(int fd)
{
    struct statx found = {};
    if (::statx(fd, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &found) != 0) {
        throwErrno("statx");
    }
    return toFileStatus(found);
}

} // namespace kelvo
