#include "files/Replacement.h"

#include "files/Posix.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace hostimpl;

// The folder in the staging folder that holds a replaced folder, under its own name, while nothing
// else is in its place.
constexpr char ASIDE_NAME[] = "old";

bool CannotRenameSpecially(int error)
{
    return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

bool Rename(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to)
{
    return ::renameat(fromFolder, from.constData(), toFolder, to.constData()) == 0;
}

// old folder to ASIDE_NAME ──► new folder into its place ──► old folder to the new folder's place
bool ExchangeInSteps(int staging, const QByteArray& staged, int destination, const QByteArray& name)
{
    if (::mkdirat(staging, ASIDE_NAME, PRIVATE_FOLDER_MODE) != 0 && errno != EEXIST) {
        return false;
    }
    const TDescriptor aside = OpenFolder(staging, ASIDE_NAME);
    if (!aside.IsValid() || !Rename(destination, name, aside.Get(), name)) {
        return false;
    }
    // After a power cut, the old folder must be in one of its two places.
    if (!SyncFolder(aside.Get()) || !SyncFolder(destination) ||
        !Rename(staging, staged, destination, name)) {
        const int error = errno;
        Rename(aside.Get(), name, destination, name); // on failure, PutBack() tries again
        errno = error;
        return false;
    }
    Rename(aside.Get(), name, staging, staged); // on failure, the old folder is deleted in "old"
    return true;
}

} // namespace

namespace hostimpl {

bool Exchange(int staging, const QByteArray& staged, int destination, const QByteArray& name)
{
    if (::renameat2(staging, staged.constData(), destination, name.constData(), RENAME_EXCHANGE) ==
        0) {
        return true;
    }
    return CannotRenameSpecially(errno) && ExchangeInSteps(staging, staged, destination, name);
}

bool MoveToFreeName(int staging, const QByteArray& staged, int destination, const QByteArray& name)
{
    if (::renameat2(staging, staged.constData(), destination, name.constData(), RENAME_NOREPLACE) ==
        0) {
        return true;
    }
    return CannotRenameSpecially(errno) && Rename(staging, staged, destination, name);
}

bool PutBack(int staging, int destination)
{
    const TDescriptor aside = OpenFolder(staging, ASIDE_NAME);
    if (!aside.IsValid()) {
        return errno == ENOENT;
    }
    QVector<QByteArray> names;
    if (!ListFolder(aside.Get(), names)) {
        return false;
    }
    for (const QByteArray& name : qAsConst(names)) {
        if (StatusAt(destination, name.constData())) {
            continue; // the new folder is in its place
        }
        const std::optional<TFileStatus> old = StatusAt(aside.Get(), name.constData());
        if (!old || (S_ISDIR(old->mode) &&
                     (!Rename(aside.Get(), name, destination, name) || !SyncFolder(destination)))) {
            return false;
        }
    }
    return true;
}

} // namespace hostimpl
