// The database in the data folder, opened at the start of the service.
#pragma once

#include "service/DataFolder.h"
#include "service/DatabasePlace.h"
#include "service/store/Database.h"

#include <filesystem>
#include <memory>
#include <string>

namespace kelvo {

/**
 * Opens the database, or makes a new one, and brings its schema up to date. Blocks, at the worst
 * for some seconds of each attempt while a backup reads. Throws StartRefused: a restore is
 * unfinished, the folder holds files without a database, the folder belongs to another database,
 * the schema is newer or in use, or the database cannot be opened.
 */
std::unique_ptr<store::Database> openDatabase(const DataFolder& folder, const DatabasePlace& place);

/** Whether the service in this folder keeps its rows on a database server. */
bool isOnServer(const std::filesystem::path& folder);

/** The URL of that server. Throws std::system_error. */
std::string serverOf(const std::filesystem::path& folder);

/**
 * Throws StartRefused if the service in this folder keeps its rows on a database server, or has
 * moved to one: two services with the rows of one service would change them independently.
 */
void requireOwnDatabase(const std::filesystem::path& folder);

} // namespace kelvo
