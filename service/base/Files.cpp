#include "service/base/Files.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvo {

namespace {

constexpr std::chrono::milliseconds lockWaitStep{100};
constexpr int lockWaits = 100;

} // namespace

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept
{
    if (this != &other) {
        reset();
        fd_ = other.release();
    }
    return *this;
}

int FileDescriptor::release()
{
    return std::exchange(fd_, -1);
}

void FileDescriptor::reset()
{
    if (fd_ >= 0) {
        ::close(fd_);
        fd_ = -1;
    }
}

LockWait waitTenSeconds()
{
    return [left = lockWaits]() mutable {
        std::this_thread::sleep_for(lockWaitStep);
        return left-- > 0;
    };
}

void throwErrno(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

FileDescriptor openFile(const std::filesystem::path& path, int flags, mode_t mode)
{
    FileDescriptor file(::open(path.c_str(), flags | O_CLOEXEC, mode));
    if (!file) {
        throwErrno("open");
    }
    return file;
}

FileDescriptor openScratch(const std::filesystem::path& folder)
{
    std::string name = (folder / ".scratch-XXXXXX").string();
    FileDescriptor file(::mkostemp(name.data(), O_CLOEXEC));
    if (!file) {
        throwErrno("mkostemp");
    }
    ::unlink(name.c_str()); // a killed process may leave the name; the clean-up removes it
    return file;
}

FileDescriptor openMemory()
{
    FileDescriptor file(::memfd_create("kelvo", MFD_CLOEXEC));
    if (!file) {
        throwErrno("memfd_create");
    }
    return file;
}

void writeAll(int fd, const void* data, std::size_t sizeBytes)
{
    const char* next = static_cast<const char*>(data);
    while (sizeBytes > 0) {
        const ssize_t written = ::write(fd, next, sizeBytes);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            throwErrno("write");
        }
        next += written;
        sizeBytes -= static_cast<std::size_t>(written);
    }
}

void syncFolder(const std::filesystem::path& folder)
{
    const FileDescriptor handle = openFile(folder, O_RDONLY | O_DIRECTORY);
    if (::fsync(handle.get()) != 0) {
        throwErrno("fsync");
    }
}

void replaceFile(const std::filesystem::path& path, std::string_view content, mode_t mode)
{
    std::filesystem::path temporary = path;
    temporary += ".new";
    {
        const FileDescriptor file = openFile(temporary, O_WRONLY | O_CREAT | O_TRUNC, mode);
        // open() does not change the mode of an old temporary file, and secrets must never be
        // readable.
        if (::fchmod(file.get(), mode) != 0) {
            throwErrno("fchmod");
        }
        writeAll(file.get(), content.data(), content.size());
        if (::fsync(file.get()) != 0) {
            throwErrno("fsync");
        }
    }
    if (::rename(temporary.c_str(), path.c_str()) != 0) {
        throwErrno("rename");
    }
    syncFolder(path.parent_path());
}

std::string readFile(const std::filesystem::path& path)
{
    const FileDescriptor file = openFile(path, O_RDONLY);
    std::string content;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::read(file.get(), buffer, sizeof buffer);
        if (got < 0 && errno != EINTR) {
            throwErrno("read");
        }
        if (got == 0) {
            return content;
        }
        if (got > 0) {
            content.append(buffer, static_cast<std::size_t>(got));
        }
    }
}

} // namespace kelvo
