// Brings a backup back.
#pragma once

#include "service/maintenance/Backup.h"

#include <filesystem>

namespace kelvo::maintenance {

/**
 * Copies a backup into a new folder within the data folder, each content checked on the way, and
 * puts that into its place when it is complete and on the disk. With `force` the data folder may
 * hold something: that is moved to replaced-TIME in it, and until then left as it is, so that a
 * restore that fails changes nothing. A crash while things are moved leaves a mark, with which no
 * service starts. What root restores belongs to whoever owns the data folder. Ids and event numbers
 * continue after a gap, so that what clients remember from after the backup cannot be taken for
 * something new. Throws StartRefused for what cannot be done (a running service, a folder that is
 * not empty, no backup), std::exception for what failed.
 */
CopyReport restore(const std::filesystem::path& from, const std::filesystem::path& dataFolder,
                   bool force);

} // namespace kelvo::maintenance
