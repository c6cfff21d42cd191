#include "framework/TSecretKey.h"

#include "files/Posix.h"
#include "hostimpl/Folders.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cerrno>

#include <fcntl.h>
#include <sodium.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t OWNER_ONLY_MODE = 0600;
constexpr mode_t OTHERS_BITS = 077;

bool IsSodiumReady()
{
    static const bool isReady = sodium_init() >= 0;
    return isReady;
}

// Reads up to `size` bytes, fewer only at the file's end. On failure returns -1 with errno set.
ssize_t ReadAll(int descriptor, unsigned char* bytes, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::read(descriptor, bytes + done, size - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return -1;
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(done);
}

QString Unusable(const QString& path, const QString& reason)
{
    return QStringLiteral("The key %1 cannot be used: %2.").arg(path, reason);
}

} // namespace

namespace hostimpl {

TSecretKey::~TSecretKey()
{
    sodium_memzero(m_bytes.data(), m_bytes.size());
}

EKeyFile TSecretKey::Load(const QString& path, QString& remark)
{
    remark.clear();
    if (!IsSodiumReady()) {
        remark = Unusable(path, QStringLiteral("the cryptography library does not start"));
        return EKeyFile::eUnusable;
    }
    // The flags prevent waiting for a pipe's other end and following a link out of the folder.
    const TDescriptor file(::open(QFile::encodeName(path).constData(),
                                  O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file.IsValid()) {
        const int error = errno;
        remark = error == ENOENT ? QStringLiteral("There is no key %1.").arg(path)
                                 : Unusable(path, SystemError(error));
        return error == ENOENT ? EKeyFile::eMissing : EKeyFile::eUnusable;
    }
    std::optional<TFileStatus> status = StatusOf(file.Get());
    if (!status || !S_ISREG(status->mode)) {
        remark = Unusable(path, QStringLiteral("it is no regular file"));
        return EKeyFile::eUnusable;
    }
    if ((status->mode & OTHERS_BITS) != 0) {
        if (::fchmod(file.Get(), OWNER_ONLY_MODE) != 0 || !(status = StatusOf(file.Get())) ||
            (status->mode & OTHERS_BITS) != 0) {
            remark = Unusable(path, QStringLiteral("other users can read or write it"));
            return EKeyFile::eUnusable;
        }
        remark = QStringLiteral("Other users could read or write the key %1. It is private now.")
                     .arg(path);
    }
    unsigned char oneMore = 0;
    const ssize_t count = ReadAll(file.Get(), m_bytes.data(), m_bytes.size());
    const ssize_t rest = count < 0 ? -1 : ReadAll(file.Get(), &oneMore, 1);
    if (rest < 0) {
        remark = Unusable(path, SystemError(errno));
        return EKeyFile::eUnusable;
    }
    if (static_cast<std::size_t>(count) != SIZE_BYTES || rest != 0) {
        remark = Unusable(path, QStringLiteral("its length is wrong"));
        return EKeyFile::eInvalid;
    }
    return EKeyFile::eLoaded;
}

bool TSecretKey::Create(const QString& path, QString& errorText)
{
    if (!IsSodiumReady()) {
        errorText = QStringLiteral("the cryptography library does not start");
        return false;
    }
    randombytes_buf(m_bytes.data(), m_bytes.size());
    const QByteArray name = QFile::encodeName(path);
    const QByteArray newName = name + ".new";
    ::unlink(newName.constData()); // a run that was killed may have left it
    TDescriptor file(
        ::open(newName.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, OWNER_ONLY_MODE));
    bool isMade = file.IsValid() && ::fchmod(file.Get(), OWNER_ONLY_MODE) == 0 &&
                  WriteAll(file.Get(), m_bytes.data(), m_bytes.size()) &&
                  ::fsync(file.Get()) == 0 && file.Close() &&
                  ::link(newName.constData(), name.constData()) == 0;
    int error = errno;
    ::unlink(newName.constData());
    if (!isMade && error == EEXIST) {
        return Load(path, errorText) == EKeyFile::eLoaded;
    }
    if (isMade) {
        isMade = SyncFolder(QFileInfo(path).absolutePath());
        error = errno;
    }
    if (!isMade) {
        errorText = SystemError(error);
    }
    return isMade;
}

} // namespace hostimpl
