// Small helpers over the system's file calls, for what Qt's file classes cannot do.
#pragma once

#include <QtCore/QString>

#include <cstddef>
#include <utility>

namespace hostimpl {

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

// All bytes, however many calls it takes. False with errno set.
bool WriteAll(int descriptor, const void* bytes, std::size_t size);

// Makes the entries of a folder durable. File systems that cannot do it count as done. False with
// errno set.
bool SyncFolder(const QString& path);
bool SyncFolder(int descriptor);

// Of more files and folders than this it is quicker to sync the whole file system once.
constexpr int mostSyncedOneByOne = 4;

// What errno says, in words for an error text.
QString SystemError(int error);

} // namespace hostimpl
