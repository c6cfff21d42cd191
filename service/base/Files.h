// Small durable file operations; everything here blocks.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace kelvo {

/** Owns a file descriptor and closes it. */
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(other.release()) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    int release();
    void reset();

private:
    int fd_ = -1;
};

/** Errors: the functions below throw std::system_error with errno; its text names no path. */
[[noreturn]] void throwErrno(const char* what);

/**
 * Whether to keep waiting for a lock. Called between two attempts; each call blocks a moment.
 */
using LockWait = std::function<bool()>;

/** Waits for ten seconds in all. */
LockWait waitTenSeconds();

FileDescriptor openFile(const std::filesystem::path& path, int flags, mode_t mode = 0600);

/** Opens a new file without a name: its bytes end with the descriptor or the process. */
FileDescriptor openScratch(const std::filesystem::path& folder);

/** Opens a new file in memory: its bytes end with the descriptor or the process. */
FileDescriptor openMemory();

/** Writes all bytes, in several calls of write() if needed. */
void writeAll(int fd, const void* data, std::size_t sizeBytes);

void syncFolder(const std::filesystem::path& folder);

/** Replaces the file in one step, synced: a reader sees the old content or the new. */
void replaceFile(const std::filesystem::path& path, std::string_view content, mode_t mode);

std::string readFile(const std::filesystem::path& path);

} // namespace kelvo
