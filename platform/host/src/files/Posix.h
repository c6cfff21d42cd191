// Small helpers for system calls on files that Qt's file classes do not offer.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include <sys/types.h>

namespace hostimpl {

static_assert(sizeof(off_t) == 8, "files may be larger than 2 GiB, also on the 32-bit console");

constexpr mode_t PRIVATE_FOLDER_MODE = 0700;

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

// A file's properties without its dates. With 32-bit times, stat() fails for a file that is dated
// after 2038; therefore the dates are not asked for.
struct TFileStatus
{
    mode_t mode; // kind and permissions
    std::int64_t sizeBytes;
};

// The status of an open file, of a path (links are followed), or of an entry in a folder (links are
// not followed). On failure returns no value and sets errno.
std::optional<TFileStatus> StatusOf(int descriptor);
std::optional<TFileStatus> StatusOf(const char* path);
std::optional<TFileStatus> StatusAt(int folder, const char* path);

// Opens a folder; links are not followed. On failure the descriptor is invalid and errno is set.
TDescriptor OpenFolder(int parent, const char* name);

// Appends the names of a folder's entries, in no order. On failure returns false with errno set.
bool ListFolder(int folder, QVector<QByteArray>& names);

// Writes all bytes, if necessary with several calls. On failure returns false with errno set.
bool WriteAll(int descriptor, const void* bytes, std::size_t size);

// Like SyncFolder of hostimpl/Folders.h, which takes a path.
bool SyncFolder(int descriptor);

// For more files and folders than this, one sync of the whole file system is faster.
constexpr int MOST_SYNCED_ONE_BY_ONE = 4;

// The meaning of an errno value, as part of an error text.
QString SystemError(int error);

} // namespace hostimpl
