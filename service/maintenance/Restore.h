// Restores a backup.
#pragma once

#include "service/maintenance/Backup.h"

#include <filesystem>

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
 * Ids and event numbers continue after a gap, so that what clients remember from after the backup
 * is not taken for something new. Throws StartRefused if the restore is not possible (a service
 * runs, the folder is not empty, there is no backup), std::exception if it failed.
 */
CopyReport restore(const std::filesystem::path& from, const std::filesystem::path& dataFolder,
                   bool force);

} // namespace kelvo::maintenance
