// What stands behind TFileSystemHelper::Unzip.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <cstdint>

namespace hostimpl {

// What an archive may not go beyond. The defaults are the console's; tests choose smaller ones.
struct TUnpackLimits
{
    std::int64_t entries = 100000;
    std::int64_t totalBytes = 4LL * 1024 * 1024 * 1024;
    // Unpacked may be at most `ratio` times the archive's own size, once there is more than
    // `ratioFloorBytes` of it: a small file of zeros is no attack.
    std::int64_t ratio = 200;
    std::int64_t ratioFloorBytes = 10LL * 1024 * 1024;
    std::int64_t nameBytes = 255;  // a file's or a folder's own name, in UTF-8
    std::int64_t pathBytes = 1024; // the whole path inside the archive, in UTF-8
    std::int64_t depth = 64;       // folders in each other
};

// TFileSystemHelper::Unzip with limits of one's own.
CONSOLEHOST_EXPORT bool Unzip(const QString& archive, const QString& destinationFolder,
                              const TUnpackLimits& limits, QString& errorText);

// Undoes what an Unzip into `destinationFolder` left that was killed: replaced files come back,
// what was added goes. Nothing happens if there is nothing to undo, or if the folder is missing.
// False if it failed, or if somebody else has been unpacking there for a second; it may be tried
// again, and the next Unzip does. From any thread; blocking.
CONSOLEHOST_EXPORT bool RecoverUnpacking(const QString& destinationFolder, QString& errorText);

// The same for several folders, one after the other; what went wrong with which. All together wait
// for others for a second at most.
CONSOLEHOST_EXPORT QStringList RecoverUnpacking(const QStringList& destinationFolders);

} // namespace hostimpl
