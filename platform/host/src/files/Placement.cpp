#include "files/Placement.h"

#include "files/ArchiveName.h"
#include "files/Posix.h"
#include "files/TStagingFolder.h"

#include <QtCore/QSet>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace hostimpl;

enum class EFound : std::uint8_t { eNothing, eFolder, eOther, eError };

// Links are not followed.
EFound Find(int folder, const QByteArray& path)
{
    const std::optional<TFileStatus> status = StatusAt(folder, path.constData());
    if (!status) {
        return errno == ENOENT ? EFound::eNothing : EFound::eError;
    }
    return S_ISDIR(status->mode) ? EFound::eFolder : EFound::eOther;
}

TDescriptor OpenFolder(int parent, const QByteArray& path)
{
    return TDescriptor(::openat(parent, path.isEmpty() ? "." : path.constData(),
                                O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

bool ListFolder(int folder, QVector<QByteArray>& names)
{
    const int copy = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* const stream = copy < 0 ? nullptr : ::fdopendir(copy);
    if (stream == nullptr) {
        return false;
    }
    errno = 0;
    while (const dirent* const entry = ::readdir(stream)) {
        const QByteArray name(entry->d_name);
        if (name != "." && name != "..") {
            names.append(name);
        }
    }
    const bool isComplete = errno == 0;
    ::closedir(stream);
    std::sort(names.begin(), names.end());
    return isComplete;
}

QString InTheWay(const QByteArray& path, bool isFolderWanted)
{
    return (isFolderWanted
                ? QStringLiteral("The folder \"%1\" of the archive has no place: a file is there.")
                : QStringLiteral("The file \"%1\" of the archive has no place: a folder is there."))
        .arg(DisplayName(path));
}

QString NotPlaced(const QByteArray& path, int error)
{
    return QStringLiteral("\"%1\" cannot be put in its place: %2.")
        .arg(DisplayName(path), SystemError(error));
}

// Renames if the target does not exist. Not every file system can do the check and the renaming in
// one step.
bool MoveToFreeName(int fromFolder, const QByteArray& from, int toFolder, const QByteArray& to)
{
    if (::renameat2(fromFolder, from.constData(), toFolder, to.constData(), RENAME_NOREPLACE) ==
        0) {
        return true;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return false;
    }
    return ::renameat(fromFolder, from.constData(), toFolder, to.constData()) == 0;
}

bool Add(const TStagingFolder& staging, int destination, const QByteArray& path)
{
    return MoveToFreeName(staging.Staged(), path, destination, path);
}

// On a file system with hard links, the name always leads to the old or the new file. On a file
// system without links (FAT), the name is missing for a moment.
bool SetAside(const TStagingFolder& staging, int destination, const QByteArray& path,
              const QByteArray& number)
{
    return ::linkat(destination, path.constData(), staging.Replaced(), number.constData(), 0) ==
               0 ||
           ::renameat(destination, path.constData(), staging.Replaced(), number.constData()) == 0;
}

bool Replace(const TStagingFolder& staging, int destination, const QByteArray& path)
{
    return ::renameat(staging.Staged(), path.constData(), destination, path.constData()) == 0;
}

// Syncs the replaced files. Without the sync, a replacement could not be undone after a power cut.
bool SetReplacedAside(const TStagingFolder& staging, int destination, const TPlacementSteps& steps,
                      QString& errorText)
{
    bool isAny = false;
    for (int number = 0; number < steps.size(); ++number) {
        const TPlacementStep& step = steps[number];
        if (step.kind != EPlacement::eReplace) {
            continue;
        }
        isAny = true;
        if (!SetAside(staging, destination, step.path, QByteArray::number(number))) {
            errorText = NotPlaced(step.path, errno);
            return false;
        }
    }
    if (isAny && !SyncFolder(staging.Replaced())) {
        errorText = QStringLiteral("The archive cannot be unpacked: %1.").arg(SystemError(errno));
        return false;
    }
    return true;
}

bool UndoAdd(const TStagingFolder& staging, int destination, const QByteArray& path)
{
    if (Find(staging.Staged(), path) != EFound::eNothing) {
        return true; // the entry was never moved
    }
    return ::renameat(destination, path.constData(), staging.Staged(), path.constData()) == 0 ||
           errno == ENOENT;
}

// If the old file was linked but not yet replaced, rename() of two links of one file does nothing,
// which is right.
bool UndoReplace(const TStagingFolder& staging, int destination, const QByteArray& path,
                 const QByteArray& number)
{
    return ::renameat(staging.Replaced(), number.constData(), destination, path.constData()) == 0 ||
           errno == ENOENT;
}

bool PlanFolder(int staged, int destination, const QByteArray& prefix, TPlacementSteps& steps,
                QString& errorText);

bool PlanEntry(int staged, int destination, const QByteArray& prefix, const QByteArray& name,
               TPlacementSteps& steps, QString& errorText)
{
    const QByteArray path = prefix + name;
    const EFound source = Find(staged, name);
    const EFound target = Find(destination, name);
    if (source == EFound::eError || target == EFound::eError) {
        errorText = NotPlaced(path, errno);
        return false;
    }
    if (target == EFound::eNothing) {
        steps.append({EPlacement::eAdd, path});
        return true;
    }
    if (source != target) {
        errorText = InTheWay(path, source == EFound::eFolder);
        return false;
    }
    if (source == EFound::eOther) {
        steps.append({EPlacement::eReplace, path});
        return true;
    }
    const TDescriptor stagedFolder = OpenFolder(staged, name);
    const TDescriptor folder = OpenFolder(destination, name);
    if (!stagedFolder.IsValid() || !folder.IsValid()) {
        errorText = NotPlaced(path, errno);
        return false;
    }
    return PlanFolder(stagedFolder.Get(), folder.Get(), path + '/', steps, errorText);
}

bool PlanFolder(int staged, int destination, const QByteArray& prefix, TPlacementSteps& steps,
                QString& errorText)
{
    QVector<QByteArray> names;
    if (!ListFolder(staged, names)) {
        errorText = NotPlaced(prefix, errno);
        return false;
    }
    return std::all_of(names.begin(), names.end(), [&](const QByteArray& name) {
        return PlanEntry(staged, destination, prefix, name, steps, errorText);
    });
}

} // namespace

namespace hostimpl {

bool PlanPlacement(int stagedFolder, int destination, TPlacementSteps& steps, QString& errorText)
{
    return PlanFolder(stagedFolder, destination, {}, steps, errorText);
}

bool Place(const TStagingFolder& staging, int destination, const TPlacementSteps& steps,
           QString& errorText)
{
    if (!SetReplacedAside(staging, destination, steps, errorText)) {
        return false;
    }
    for (const TPlacementStep& step : steps) {
        const bool isDone = step.kind == EPlacement::eAdd
                                ? Add(staging, destination, step.path)
                                : Replace(staging, destination, step.path);
        if (!isDone) {
            errorText = NotPlaced(step.path, errno);
            return false;
        }
    }
    return true;
}

bool UndoPlacement(const TStagingFolder& staging, int destination, const TPlacementSteps& steps)
{
    for (int number = steps.size() - 1; number >= 0; --number) {
        const TPlacementStep& step = steps[number];
        const bool isUndone =
            step.kind == EPlacement::eAdd
                ? UndoAdd(staging, destination, step.path)
                : UndoReplace(staging, destination, step.path, QByteArray::number(number));
        if (!isUndone) {
            return false;
        }
    }
    return SyncPlacement(destination, steps);
}

bool SyncPlacement(int destination, const TPlacementSteps& steps)
{
    QSet<QByteArray> folders;
    for (const TPlacementStep& step : steps) {
        folders.insert(step.path.left(std::max(step.path.lastIndexOf('/'), 0)));
    }
    if (folders.size() > MOST_SYNCED_ONE_BY_ONE) {
        return ::syncfs(destination) == 0;
    }
    return std::all_of(folders.begin(), folders.end(), [destination](const QByteArray& path) {
        const TDescriptor folder = OpenFolder(destination, path);
        return (!folder.IsValid() && errno == ENOENT) ||
               (folder.IsValid() && SyncFolder(folder.Get()));
    });
}

} // namespace hostimpl
