#include "host/TFileSystemHelper.h"

#include "files/Posix.h"
#include "hostimpl/Unpacking.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <mutex>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

// A function's static, so that no code runs at load.
std::function<void(const hostimpl::TUnpackingResult&)>& Observer()
{
    static std::function<void(const hostimpl::TUnpackingResult&)> observer;
    return observer;
}

struct TInUnpacking
{
    std::mutex mutex; // guards the names
    QString name;
    QStringList withoutSpace;
};

// A function's static, so that no code runs at load.
TInUnpacking& InUnpacking()
{
    static TInUnpacking current;
    return current;
}

void NoteInUnpacking(const QString& archiveName)
{
    const std::lock_guard lock(InUnpacking().mutex);
    InUnpacking().name = archiveName;
}

// The error texts of the unpacking end with the system's reason.
bool IsDiskFull(const QString& errorText)
{
    return errorText.contains(hostimpl::SystemError(ENOSPC));
}

void NoteResult(const QString& archiveName, bool isUnpacked, const QString& errorText)
{
    const std::lock_guard lock(InUnpacking().mutex);
    InUnpacking().name.clear();
    if (!isUnpacked && IsDiskFull(errorText)) {
        InUnpacking().withoutSpace << archiveName;
    }
}

// Continues after an error, so that as much as possible is deleted.
bool DeleteContent(const fs::path& folder, bool recursive)
{
    bool isAllGone = true;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        // With 32-bit times, std::filesystem does not recognise a folder that is dated after 2038.
        const std::optional<hostimpl::TFileStatus> status =
            hostimpl::StatusAt(AT_FDCWD, entry->path().c_str());
        if (!status || (S_ISDIR(status->mode) && !recursive)) {
            const bool hasGone = !status && errno == ENOENT;
            isAllGone = isAllGone && hasGone;
            continue;
        }
        std::error_code deleteError;
        fs::remove_all(entry->path(), deleteError);
        isAllGone = isAllGone && !deleteError;
    }
    return isAllGone && !error;
}

} // namespace

bool TFileSystemHelper::Unzip(const QString& archive, const QString& destinationFolder,
                              QString& errorText)
{
    const QString name = QFileInfo(archive).fileName();
    NoteInUnpacking(name);
    const bool isUnpacked =
        hostimpl::Unzip(archive, destinationFolder, hostimpl::TUnpackLimits(), errorText);
    if (Observer()) {
        Observer()({archive, isUnpacked, errorText});
    }
    NoteResult(name, isUnpacked, errorText);
    return isUnpacked;
}

QStringList hostimpl::TakeArchivesWithoutSpace()
{
    const std::lock_guard lock(InUnpacking().mutex);
    return std::exchange(InUnpacking().withoutSpace, {});
}

QString hostimpl::ArchiveInUnpacking()
{
    const std::lock_guard lock(InUnpacking().mutex);
    return InUnpacking().name;
}

void hostimpl::ObserveUnpacking(std::function<void(const TUnpackingResult&)> observer)
{
    Observer() = std::move(observer);
}

// An empty path (the working directory) and "/" are refused, because they can only be mistakes.
bool TFileSystemHelper::DeleteDirGeneric(const QString& path, bool recursive,
                                         bool deleteFolderItself)
{
    fs::path folder(QFile::encodeName(path).toStdString());
    folder = folder.lexically_normal();
    if (!folder.has_filename()) {
        folder = folder.parent_path(); // drops the separator at the end, which would follow a link
    }
    if (folder.empty() || folder == folder.root_path()) {
        return false;
    }
    std::error_code error;
    const std::optional<hostimpl::TFileStatus> status =
        hostimpl::StatusAt(AT_FDCWD, folder.c_str());
    if (!status) {
        return errno == ENOENT || errno == ENOTDIR;
    }
    if (S_ISLNK(status->mode)) {
        return deleteFolderItself && fs::remove(folder, error);
    }
    if (!S_ISDIR(status->mode)) {
        return false;
    }
    const bool isContentGone = DeleteContent(folder, recursive);
    return deleteFolderItself ? ::rmdir(folder.c_str()) == 0 : isContentGone;
}
