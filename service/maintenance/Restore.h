// Brings a backup back.
#pragma once

#include "service/maintenance/Backup.h"

#include <filesystem>

namespace kelvo::maintenance {

/**
 * Copies a backup into the data folder, each content checked on the way. With `force` the folder
 * may hold something: that is moved to replaced-TIME in it. A restore that did not come to its end
 * leaves a mark, with which no service starts. Ids and event numbers continue after a gap, so that
 * what clients remember from after the backup cannot be taken for something new. Throws
 * StartRefused for what cannot be done (a running service, a folder that is not empty, no backup),
 * std::exception for what failed.
 */
CopyReport restore(const std::filesystem::path& from, const std::filesystem::path& dataFolder,
                   bool force);

} // namespace kelvo::maintenance
