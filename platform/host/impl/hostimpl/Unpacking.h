// The implementation of TFileSystemHelper::Unzip, with limits and recovery.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <chrono>
#include <cstdint>
#include <functional>

namespace hostimpl {

// The limits of an archive. The defaults are the console's; tests set smaller limits.
struct TUnpackLimits
{
    std::int64_t entries = 100000;
    std::int64_t totalBytes = 4LL * 1024 * 1024 * 1024;
    // Above `ratioFloorBytes`, the unpacked content may be at most `ratio` times the archive's own
    // size. Below, any ratio is allowed: a small file of zeros is no attack.
    std::int64_t ratio = 200;
    std::int64_t ratioFloorBytes = 10LL * 1024 * 1024;
    std::int64_t nameBytes = 255;  // a file's or a folder's own name, in UTF-8
    std::int64_t pathBytes = 1024; // the whole path inside the archive, in UTF-8
    std::int64_t depth = 64;       // nested folders
    // How long another process may unpack into the same folder before this one gives up. The
    // largest archive takes less.
    std::chrono::milliseconds otherProcess = std::chrono::minutes(10);
};

// TFileSystemHelper::Unzip with other limits. If the disk fails twice, the new folder may be in its
// place although false is returned; the error text says so.
CONSOLEHOST_EXPORT bool Unzip(const QString& archive, const QString& destinationFolder,
                              const TUnpackLimits& limits, QString& errorText);

struct TUnpackingResult
{
    QString archive; // the path that Unzip() got
    bool isUnpacked = false;
    QString errorText; // why it is not unpacked; may hold a local path
};

// Each TFileSystemHelper::Unzip() calls `observer` before it returns, on its own thread. The
// archive still has its path then. An empty observer ends these calls. Call this function while no
// thread unpacks.
CONSOLEHOST_EXPORT void ObserveUnpacking(std::function<void(const TUnpackingResult&)> observer);

// The name of the archive that TFileSystemHelper::Unzip() is unpacking, such as "field.zip"; empty
// if there is none. From any thread.
CONSOLEHOST_EXPORT QString ArchiveInUnpacking();

// The names of the archives that TFileSystemHelper::Unzip() could not unpack because the disk was
// full, since the last call. From any thread.
CONSOLEHOST_EXPORT QStringList TakeArchivesWithoutSpace();

// Removes what an Unzip into `destinationFolder` left because its process was killed. A folder that
// was being replaced is there afterwards, old or new. Does nothing if nothing was left or if the
// destination is missing. Returns false on failure, or if another process held the
// folder's lock for a second. A retry is safe; the next Unzip retries too. From any thread;
// blocking.
CONSOLEHOST_EXPORT bool RecoverUnpacking(const QString& destinationFolder, QString& errorText);

// The same for several folders, one after the other. Returns an error text for each folder that
// failed. The wait for other processes is a second at most for all folders together.
CONSOLEHOST_EXPORT QStringList RecoverUnpacking(const QStringList& destinationFolders);

} // namespace hostimpl
