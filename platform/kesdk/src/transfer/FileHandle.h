// An open file descriptor that closes itself.
#pragma once

#include <fcntl.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace kesdk::impl {

static_assert(sizeof(off_t) == 8, "files may be larger than 2 GiB, also on the 32-bit console");

class FileHandle
{
public:
    FileHandle() = default;
    explicit FileHandle(int descriptor) : m_descriptor(descriptor) {}
    ~FileHandle() { Close(); }
    FileHandle(FileHandle&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileHandle& operator=(FileHandle&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }

    bool IsOpen() const { return m_descriptor >= 0; }
    int Get() const { return m_descriptor; }

    // Calls ::pread until no signal interrupts it.
    ssize_t ReadAt(char* buffer, std::size_t sizeBytes, std::int64_t offset) const
    {
        ssize_t got = -1;
        do {
            got = ::pread(m_descriptor, buffer, sizeBytes, static_cast<off_t>(offset));
        } while (got < 0 && errno == EINTR);
        return got;
    }
    // Writes all of the bytes, also after a signal.
    bool WriteAt(std::string_view bytes, std::int64_t offset) const
    {
        while (!bytes.empty()) {
            const ssize_t put =
                ::pwrite(m_descriptor, bytes.data(), bytes.size(), static_cast<off_t>(offset));
            if (put < 0 && errno == EINTR)
                continue;
            if (put <= 0)
                return false;
            bytes.remove_prefix(static_cast<std::size_t>(put));
            offset += put;
        }
        return true;
    }

    void Close()
    {
        if (IsOpen())
            ::close(std::exchange(m_descriptor, -1));
    }

private:
    int m_descriptor = -1;
};

// Syncs the folder. Some file systems cannot do that: only EIO means that a name may be lost.
inline bool SyncFolder(const std::string& folder)
{
    const FileHandle handle(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return !handle.IsOpen() || ::fsync(handle.Get()) == 0 || errno != EIO;
}

} // namespace kesdk::impl
