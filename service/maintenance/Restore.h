// Restores a backup.
#pragma once

#include "service/maintenance/Backup.h"

#include <filesystem>
#include <string>

namespace kelvo::maintenance {

/**
 * Copies a backup into a new folder within the data folder and checks each content. When the copy
 * is complete and on the disk, it replaces the content of the data folder.
 *
 * With `force` the data folder may hold something: its content is moved to replaced-TIME in it.
 * Until then it is not changed, so a failed restore changes nothing. A crash during the moves
 * leaves a mark, and no service starts on a marked folder. If root restores, the files get the
 * owner of the data folder.
 *
 * Ids and event numbers continue after a gap, so that the service gives no id and no number again
 * that a client remembers from after the backup. Throws StartRefused if the restore is not possible
 * (a service runs, the folder is not empty, there is no backup), std::exception if it failed.
 */
CopyReport restore(const std::filesystem::path& from, const std::filesystem::path& dataFolder,
                   bool force);

/**
 * For a database that the server's own tools have restored: its ids and event numbers continue
 * after the same gap. Call it before an instance starts. Returns the number of farms. Throws
 * StartRefused if an instance runs on the database or the schema is not the schema of this program;
 * std::exception if it failed.
 */
long long leaveGapOnServer(const std::string& server);

} // namespace kelvo::maintenance
