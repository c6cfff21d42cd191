// Unpacks an archive into a hidden folder of the destination, then moves that folder into its
// place.
//
//   read into staging ──► sync ──► rename or exchange ──► sync ──► remove staging
//        │ error                                           │ error
//        ▼                                                 ▼
//   remove staging                                  rename or exchange back
//
// A killed run leaves its staging folder. The next run removes the staging folder. If the kill came
// between the steps of an exchange, the next run first puts the old folder back.
#include "hostimpl/Unpacking.h"

#include "files/ArchiveName.h"
#include "files/FolderName.h"
#include "files/Posix.h"
#include "files/Replacement.h"
#include "files/TArchiveReader.h"
#include "files/TStagingFolder.h"
#include "framework/HostLog.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QThread>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

using namespace hostimpl;

constexpr unsigned long LOOK_EVERY_MS = 50;
constexpr qint64 RECOVERY_WAITS_MS = 1000;

// Opens and locks a folder, so that no other thread or process unpacks into it. The system releases
// the lock when the descriptor is closed or the process ends. If the lock is not free before the
// deadline, the descriptor is invalid and errno is set.
TDescriptor LockFolder(const QString& path, const QDeadlineTimer& deadline)
{
    TDescriptor folder(
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    while (folder.IsValid() && ::flock(folder.Get(), LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        if (error == EWOULDBLOCK && !deadline.hasExpired()) {
            // The last attempt is at the deadline, not after it.
            const qint64 left = std::max<qint64>(deadline.remainingTime(), 0);
            QThread::msleep(std::min(LOOK_EVERY_MS, static_cast<unsigned long>(left)));
        } else if (error != EINTR) {
            folder = TDescriptor();
            errno = error;
        }
    }
    return folder;
}

QString NotLocked(const QString& path, int error)
{
    return error == EWOULDBLOCK
               ? QStringLiteral("Another program is unpacking into the folder %1.").arg(path)
               : QStringLiteral("The folder %1 cannot be opened: %2.")
                     .arg(path, SystemError(error));
}

// Whether an error of OpenFolder() means that the path has no folder. After another error, such as
// too many open files, the folder may hold the only copy of a replaced folder.
bool IsNoFolder(int error)
{
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

// Removes the staging folder. While the staging folder holds the only copy of a replaced folder,
// the staging folder stays.
bool CleanUp(const QString& path, int destination, QString& errorText)
{
    {
        const TDescriptor staging = OpenFolder(destination, STAGING_NAME);
        const bool isFolder = staging.IsValid() || !IsNoFolder(errno);
        if (isFolder && (!staging.IsValid() || !PutBack(staging.Get(), destination))) {
            errorText = QStringLiteral("An incomplete unpacking in %1 cannot be undone: %2.")
                            .arg(path, SystemError(errno));
            return false;
        }
    }
    if (RemoveStaging(path)) {
        return true;
    }
    errorText = QStringLiteral("An incomplete unpacking in %1 cannot be removed.").arg(path);
    return false;
}

bool Extract(TArchiveReader& reader, TStagingFolder& staging, QString& errorText)
{
    TArchiveEntry entry;
    for (;;) {
        switch (reader.Next(entry, errorText)) {
        case ENextEntry::eEnd:
            return staging.Sync(errorText);
        case ENextEntry::eRefused:
            return false;
        case ENextEntry::eEntry:
            break;
        }
        if (entry.isFolder) {
            if (!staging.AddFolder(entry.path, errorText)) {
                return false;
            }
            continue;
        }
        TDescriptor file = staging.AddFile(entry.path, errorText);
        if (!file.IsValid() || !reader.CopyContent(file.Get(), errorText)) {
            return false;
        }
        if (!file.Close()) {
            errorText = QStringLiteral("A file cannot be written: %1.").arg(SystemError(errno));
            return false;
        }
    }
}

QString NotPlaced(const QByteArray& name, int error)
{
    return QStringLiteral("The folder \"%1\" cannot be put in its place: %2.")
        .arg(DisplayName(name), SystemError(error));
}

QString NotSafe(const QByteArray& name, int error)
{
    return QStringLiteral("The folder \"%1\" is in its place, but a power cut may undo that: %2.")
        .arg(DisplayName(name), SystemError(error));
}

// The name of the archive's folder, or an empty name with an error text.
QByteArray ChooseName(int destination, const QByteArray& archiveName, QString& errorText)
{
    QVector<QByteArray> names;
    if (!ListFolder(destination, names)) {
        errorText = NotPlaced(archiveName, errno);
        return {};
    }
    const std::optional<TFileStatus> namesake = StatusAt(destination, archiveName.constData());
    if (namesake && !S_ISDIR(namesake->mode)) {
        names.removeOne(archiveName); // the archive itself, or another file
    }
    QByteArray name =
        ChooseFolderName(archiveName, names, [destination](const QByteArray& candidate) {
            return StatusAt(destination, candidate.constData()).has_value();
        });
    if (name.isEmpty()) {
        errorText = QStringLiteral("The archive \"%1\" has no place: its folder belongs to another "
                                   "archive.")
                        .arg(DisplayName(archiveName));
    }
    return name;
}

// On failure nothing has changed, or the error text says that the folder is in its place.
bool MoveIntoPlace(const TStagingFolder& staging, int destination, const QByteArray& archiveName,
                   QString& errorText)
{
    const QByteArray name = ChooseName(destination, archiveName, errorText);
    if (name.isEmpty()) {
        return false;
    }
    const std::optional<TFileStatus> former = StatusAt(destination, name.constData());
    if (former && !S_ISDIR(former->mode)) {
        errorText =
            QStringLiteral("The folder \"%1\" of the archive has no place: a file is there.")
                .arg(DisplayName(name));
        return false;
    }
    if (former && !staging.HasFiles()) {
        errorText = QStringLiteral("The archive has no files. The folder \"%1\" stays as it is.")
                        .arg(DisplayName(name));
        return false;
    }
    const QByteArray unpacked = staging.Unpacked(StemOf(archiveName));
    const auto place = former ? &Exchange : &MoveToFreeName;
    if (!place(staging.Descriptor(), unpacked, destination, name)) {
        errorText = NotPlaced(name, errno);
        return false;
    }
    if (SyncFolder(destination)) {
        return true;
    }
    const int error = errno;
    errorText = NotPlaced(name, error);
    const bool isUndone = former
                              ? Exchange(staging.Descriptor(), unpacked, destination, name)
                              : MoveToFreeName(destination, name, staging.Descriptor(), unpacked);
    if (!isUndone) {
        errorText = NotSafe(name, error);
    }
    return false;
}

bool Recover(const QString& destinationFolder, const QDeadlineTimer& deadline, QString& errorText)
{
    errorText.clear();
    const TDescriptor destination = LockFolder(destinationFolder, deadline);
    if (!destination.IsValid()) {
        if (errno == ENOENT) {
            return true;
        }
        errorText = NotLocked(destinationFolder, errno);
        return false;
    }
    return CleanUp(destinationFolder, destination.Get(), errorText);
}

} // namespace

QStringList hostimpl::RecoverUnpacking(const QStringList& destinationFolders)
{
    const QDeadlineTimer deadline(RECOVERY_WAITS_MS);
    QStringList errorTexts;
    for (const QString& folder : destinationFolders) {
        QString errorText;
        if (!Recover(folder, deadline, errorText)) {
            errorTexts << errorText;
        }
    }
    return errorTexts;
}

bool hostimpl::RecoverUnpacking(const QString& destinationFolder, QString& errorText)
{
    return Recover(destinationFolder, QDeadlineTimer(RECOVERY_WAITS_MS), errorText);
}

bool hostimpl::Unzip(const QString& archive, const QString& destinationFolder,
                     const TUnpackLimits& limits, QString& errorText)
{
    errorText.clear();
    TArchiveReader reader(archive, limits);
    if (!reader.Open(errorText)) {
        return false;
    }
    const TDescriptor destination =
        LockFolder(destinationFolder, QDeadlineTimer(limits.otherProcess));
    if (!destination.IsValid()) {
        errorText = NotLocked(destinationFolder, errno);
        return false;
    }
    if (!CleanUp(destinationFolder, destination.Get(), errorText)) {
        return false;
    }
    const QByteArray archiveName = QFile::encodeName(QFileInfo(archive).fileName());
    TStagingFolder staging(destination.Get());
    const bool isUnpacked = staging.Create(errorText) && Extract(reader, staging, errorText) &&
                            MoveIntoPlace(staging, destination.Get(), archiveName, errorText);
    QString cleaningText;
    if (!CleanUp(destinationFolder, destination.Get(), cleaningText)) {
        qCWarning(lcHost, "%s", qUtf8Printable(cleaningText));
    }
    return isUnpacked;
}
