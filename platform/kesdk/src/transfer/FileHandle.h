// An open file descriptor that closes itself.
#pragma once

#include <sys/types.h>
#include <unistd.h>

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

    void Close()
    {
        if (IsOpen())
            ::close(std::exchange(m_descriptor, -1));
    }

private:
    int m_descriptor = -1;
};

} // namespace kesdk::impl
