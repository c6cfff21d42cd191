#include "service/maintenance/FileCopies.h"

#include "service/base/Digest.h"
#include "service/base/FileStatus.h"
#include "service/base/Files.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <optional>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t chunkBytes = std::size_t{1024} * 1024;

}

void throwCannotRead(const char* what)
{
    throw CannotRead(errno, std::generic_category(), what);
}

CopiedFile copyFile(const fs::path& from, const fs::path& to)
{
    const FileDescriptor source(::open(from.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (source.get() < 0) {
        throwCannotRead("open");
    }
    const FileDescriptor target =
        openFile(to, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, statusOf(source.get()).mode & 0777);
    const auto buffer = std::make_unique<char[]>(chunkBytes);
    CopiedFile copied;
    Sha256 digest;
    for (;;) {
        const ssize_t got = ::read(source.get(), buffer.get(), chunkBytes);
        if (got < 0 && errno != EINTR) {
            const int error = errno;
            ::unlink(to.c_str());
            errno = error;
            throwCannotRead("read");
        }
        if (got == 0) {
            break;
        }
        if (got > 0) {
            const auto bytes = static_cast<std::size_t>(got);
            writeAll(target.get(), buffer.get(), bytes);
            digest.add(buffer.get(), bytes);
            copied.sizeBytes += bytes;
        }
    }
    if (::fsync(target.get()) != 0) {
        throwErrno("fsync");
    }
    copied.sha256 = digest.finishHex();
    return copied;
}

void copyTree(const fs::path& from, const fs::path& to)
{
    const std::optional<FileStatus> status = statusOf(from);
    if (status && S_ISDIR(status->mode)) {
        fs::create_directory(to);
        fs::permissions(to, static_cast<fs::perms>(status->mode & 07777));
        for (const auto& entry : fs::directory_iterator(from)) {
            copyTree(entry.path(), to / entry.path().filename());
        }
    } else if (status) {
        copyFile(from, to);
    }
}

bool isWithin(const fs::path& path, const fs::path& folder)
{
    const fs::path inner = fs::weakly_canonical(path);
    const fs::path outer = fs::weakly_canonical(folder);
    return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first ==
           outer.end();
}

void syncFolders(const fs::path& folder)
{
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_directory() && !entry.is_symlink()) {
            syncFolder(entry.path());
        }
    }
    syncFolder(folder);
}

} // namespace kelvo::maintenance
