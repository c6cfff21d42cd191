#include "files/Posix.h"

#include "hostimpl/Folders.h"

#include <QtCore/QFile>

#include <cerrno>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

std::optional<hostimpl::TFileStatus> Status(int folder, const char* path, int flags)
{
    struct statx found = {};
    if (::statx(folder, path, flags, STATX_TYPE | STATX_MODE | STATX_SIZE, &found) != 0) {
        return std::nullopt;
    }
    return hostimpl::TFileStatus{found.stx_mode, static_cast<std::int64_t>(found.stx_size)};
}

} // namespace

namespace hostimpl {

TDescriptor::~TDescriptor()
{
    Close();
}

bool TDescriptor::Close()
{
    const int descriptor = std::exchange(m_descriptor, -1);
    return descriptor < 0 || ::close(descriptor) == 0;
}

std::optional<TFileStatus> StatusOf(int descriptor)
{
    return Status(descriptor, "", AT_EMPTY_PATH);
}

std::optional<TFileStatus> StatusOf(const char* path)
{
    return Status(AT_FDCWD, path, 0);
}

std::optional<TFileStatus> StatusAt(int folder, const char* path)
{
    return Status(folder, path, AT_SYMLINK_NOFOLLOW);
}

TDescriptor OpenFolder(int parent, const char* name)
{
    return TDescriptor(::openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool ListFolder(int folder, QVector<QByteArray>& names)
{
    const int copy = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (copy < 0) {
        return false;
    }
    DIR* const stream = ::fdopendir(copy);
    if (stream == nullptr) {
        const int error = errno;
        ::close(copy);
        errno = error;
        return false;
    }
    errno = 0;
    while (const dirent* const entry = ::readdir(stream)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..") {
            names.append(name);
        }
    }
    const int error = errno;
    ::closedir(stream);
    errno = error;
    return error == 0;
}

bool WriteAll(int descriptor, const void* bytes, std::size_t size)
{
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const ssize_t written = ::write(descriptor, next, size);
        if (written < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        next += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool SyncFolder(const QString& path)
{
    const TDescriptor folder(
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder.IsValid() && SyncFolder(folder.Get());
}

bool SyncFolder(int descriptor)
{
    return ::fsync(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP;
}

QString SystemError(int error)
{
    return error == ENOSPC || error == EDQUOT ? QStringLiteral("there is no space left")
                                              : qt_error_string(error);
}

} // namespace hostimpl
