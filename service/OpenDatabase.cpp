#include "service/OpenDatabase.h"

#include "service/base/FileStatus.h"
#include "service/base/Log.h"
#include "service/store/Errors.h"

#include <filesystem>
#include <string>

namespace kelvo {

namespace {

constexpr int openAttempts = 5; // each attempt waits some seconds for the database

/** A new database would not know these files, and would later remove them. */
void refuseFilesWithoutDatabase(const DataFolder& folder)
{
    const auto database = folder.path() / "kelvo.sqlite";
    const auto status = statusOf(database);
    const bool isThere = status && status->sizeBytes > 0;
    if (!isThere && holdsContents(folder.path())) {
        throw StartRefused("the data folder " + folder.path().string() +
                           " holds files in content or uploads, but kelvo.sqlite is missing or"
                           " empty: put the database back, or restore a backup with --force");
    }
}

/**
 * A backup that started beside the earlier service may still read. Its lock can delay the migration
 * of an older schema.
 */
std::unique_ptr<store::Database> openWithRetries(const std::string& file)
{
    for (int attempt = 1;; ++attempt) {
        try {
            return std::make_unique<store::Database>(store::makeSqlite(file));
        } catch (const store::StoreBusy&) {
            if (attempt == openAttempts) {
                throw;
            }
            logWarning("database-busy");
        }
    }
}

} // namespace

std::unique_ptr<store::Database> openDatabase(const DataFolder& folder)
{
    if (std::filesystem::exists(folder.path() / unfinishedRestoreName)) {
        throw StartRefused("a restore of the data folder " + folder.path().string() +
                           " is unfinished: restore again with --force");
    }
    refuseFilesWithoutDatabase(folder);
    try {
        return openWithRetries((folder.path() / "kelvo.sqlite").string());
    } catch (const store::SchemaTooNew&) {
        throw StartRefused("the database in " + folder.path().string() +
                           " has a newer schema than this version knows");
    } catch (const std::exception& error) {
        throw StartRefused("cannot open the database in " + folder.path().string() + ": " +
                           error.what());
    }
}

} // namespace kelvo
