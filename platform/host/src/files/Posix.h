// Small helpers over the system's file calls, for what Qt's file classes cannot do.
#pragma once

#include <QtCore/QString>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include <sys/types.h>

namespace hostimpl {

static_assert(sizeof(off_t) == 8, "files may be larger than 2 GiB, also on the 32-bit console");

// Owns an open file.
class TDescriptor
{
public:
    TDescriptor() = default;
    explicit TDescriptor(int descriptor) : m_descriptor(descriptor) {}
    TDescriptor(TDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1))
    {}
    TDescriptor& operator=(TDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    TDescriptor(const TDescriptor&) = delete;
    TDescriptor& operator=(const TDescriptor&) = delete;
    ~TDescriptor();

    bool IsValid() const { return m_descriptor >= 0; }
    int Get() const { return m_descriptor; }
    // False if the file could not be closed without an error, which may be a late write error.
    bool Close();

private:
    int m_descriptor = -1;
};

// What there is to know of a file without its dates: with them, where times have 32 bits, the
// system refuses to tell of one that is dated after 2038.
struct TFileStatus
{
    mode_t mode; // kind and permissions
    std::int64_t sizeBytes;
};

// Of an open file, of what a path names (links are followed), or of what it names in a folder (a
// link counts as what it is). Nothing with errno set.
std::optional<TFileStatus> StatusOf(int descriptor);
std::optional<TFileStatus> StatusOf(const char* path);
std::optional<TFileStatus> StatusAt(int folder, const char* path);

// All bytes, however many calls it takes. False with errno set.
bool WriteAll(int descriptor, const void* bytes, std::size_t size);

// Makes the entries of a folder durable. File systems that cannot do it count as done. False with
// errno set.
bool SyncFolder(const QString& path);
bool SyncFolder(int descriptor);

// Of more files and folders than this it is quicker to sync the whole file system once.
constexpr int MOST_SYNCED_ONE_BY_ONE = 4;

// What errno says, in words for an error text.
QString SystemError(int error);

} // namespace hostimpl
