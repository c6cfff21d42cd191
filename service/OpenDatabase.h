// The database in the data folder, opened at the start of the service.
#pragma once

#include "service/DataFolder.h"
#include "service/store/Database.h"

#include <memory>

namespace kelvo {

/**
 * Opens the database, or makes a new one, and brings its schema up to date. Blocks, at the worst
 * for some seconds of each attempt while a backup reads. Throws StartRefused: a restore is
 * unfinished, the folder holds files without a database, the schema is newer, or the database
 * cannot be opened.
 */
std::unique_ptr<store::Database> openDatabase(const DataFolder& folder);

} // namespace kelvo
