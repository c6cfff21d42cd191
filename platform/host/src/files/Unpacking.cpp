// Unpacks an archive into a hidden folder of the destination, then moves the files into place.
//
//   read into staging ──► sync ──► write the journal ──► move ──► sync ──► remove the journal
//        │ error                                          │ error            │
//        ▼                                                ▼                  ▼
//   remove staging                          undo by the journal        remove staging
//
// A killed run leaves its staging folder. If there is a journal, the next run undoes the moves with
// it. If there is none, nothing was moved or everything was moved.
#include "hostimpl/Unpacking.h"

#include "files/Placement.h"
#include "files/Posix.h"
#include "files/TArchiveReader.h"
#include "files/TStagingFolder.h"
#include "framework/HostLog.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFile>
#include <QtCore/QThread>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>

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
    const bool waits = deadline.isForever();
    while (folder.IsValid() && ::flock(folder.Get(), waits ? LOCK_EX : LOCK_EX | LOCK_NB) != 0) {
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

bool CleanUp(const QString& path, QString& errorText)
{
    if (RemoveStaging(path)) {
        return true;
    }
    errorText = QStringLiteral("What was left half unpacked in %1 cannot be removed.").arg(path);
    return false;
}

bool UndoLeftover(const QString& path, int destination, QString& errorText)
{
    TStagingFolder staging(destination);
    TPlacementSteps steps;
    if (staging.OpenLeftover()) {
        const TPlacementJournal journal(staging.Descriptor());
        if (journal.Read(steps) &&
            (!UndoPlacement(staging, destination, steps) || !journal.Remove())) {
            errorText = QStringLiteral("What was left half unpacked in %1 cannot be undone: %2.")
                            .arg(path, SystemError(errno));
            return false;
        }
    }
    return CleanUp(path, errorText);
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

// On false nothing has changed, unless `isUndone` is false. Then the journal must stay.
bool MoveIntoPlace(const TStagingFolder& staging, int destination, bool& isUndone,
                   QString& errorText)
{
    TPlacementSteps steps;
    if (!PlanPlacement(staging.Staged(), destination, steps, errorText)) {
        return false;
    }
    const TPlacementJournal journal(staging.Descriptor());
    bool isPlaced = false;
    if (!journal.Write(steps)) {
        errorText = QStringLiteral("The archive cannot be unpacked: %1.").arg(SystemError(errno));
    } else if (Place(staging, destination, steps, errorText)) {
        isPlaced = SyncPlacement(destination, steps) && journal.Remove();
        if (!isPlaced) {
            errorText =
                QStringLiteral("The archive cannot be unpacked: %1.").arg(SystemError(errno));
        }
    }
    if (!isPlaced) {
        isUndone = UndoPlacement(staging, destination, steps) && journal.Remove();
    }
    return isPlaced;
}

bool Recover(const QString& destinationFolder, const QDeadlineTimer& deadline, QString& errorText)
{
    errorText.clear();
    const TDescriptor destination = LockFolder(destinationFolder, deadline);
    if (!destination.IsValid()) {
        if (errno == ENOENT) {
            return true;
        }
        errorText = QStringLiteral("The folder %1 cannot be opened: %2.")
                        .arg(destinationFolder, SystemError(errno));
        return false;
    }
    return UndoLeftover(destinationFolder, destination.Get(), errorText);
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
        LockFolder(destinationFolder, QDeadlineTimer(QDeadlineTimer::Forever));
    if (!destination.IsValid()) {
        errorText = QStringLiteral("The folder %1 cannot be opened: %2.")
                        .arg(destinationFolder, SystemError(errno));
        return false;
    }
    if (!UndoLeftover(destinationFolder, destination.Get(), errorText)) {
        return false;
    }
    TStagingFolder staging(destination.Get());
    bool isUndone = true;
    const bool isUnpacked = staging.Create(errorText) && Extract(reader, staging, errorText) &&
                            MoveIntoPlace(staging, destination.Get(), isUndone, errorText);
    QString cleaningText;
    if (!isUndone) {
        qCWarning(lcHost, "The folder %s is half changed; the next run repairs it.",
                  qUtf8Printable(destinationFolder));
    } else if (!CleanUp(destinationFolder, cleaningText)) {
        qCWarning(lcHost, "%s", qUtf8Printable(cleaningText));
    }
    return isUnpacked;
}
