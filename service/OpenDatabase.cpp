#include "service/OpenDatabase.h"

#include "service/base/FileStatus.h"
#include "service/base/Files.h"
#include "service/base/Log.h"
#include "service/store/Errors.h"

#include <filesystem>
#include <functional>
#include <string>

namespace kelvo {

namespace {

constexpr int openAttempts = 5; // each attempt waits some seconds for the database
constexpr const char* fileName = "kelvo.sqlite";
constexpr const char* serverName = "database.url"; // a file with the URL of the server
constexpr unsigned readersOfFile = 2;
constexpr unsigned readersOfServer = 8; // each waits for the network most of the time

/** A new database would not know these files, and would later remove them. */
void refuseFilesWithoutDatabase(const DataFolder& folder)
{
    const auto database = folder.path() / fileName;
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
std::unique_ptr<store::Database>
openWithRetries(const std::function<std::unique_ptr<store::Dialect>()>& make, unsigned readers)
{
    for (int attempt = 1;; ++attempt) {
        try {
            return std::make_unique<store::Database>(make(), readers);
        } catch (const store::StoreBusy& error) {
            if (attempt == openAttempts) {
                throw;
            }
            logWarning("database-busy", error.what());
        }
    }
}

std::unique_ptr<store::Database> openFile(const DataFolder& folder, const DatabasePlace& place)
{
    const std::filesystem::path file = folder.path() / fileName;
    if (!place.file.empty() && std::filesystem::weakly_canonical(place.file) != file) {
        throw StartRefused("the database must be " + file.string() +
                           ", because backup and verify read it there: correct --database");
    }
    requireOwnDatabase(folder.path());
    refuseFilesWithoutDatabase(folder);
    return openWithRetries([&file] { return store::makeSqlite(file.string()); }, readersOfFile);
}

/** The folder remembers its server, so that a start without --database makes no new database. */
std::unique_ptr<store::Database> openOnServer(const DataFolder& folder, const DatabasePlace& place)
{
    if (std::filesystem::exists(folder.path() / fileName)) {
        throw StartRefused("the data folder " + folder.path().string() +
                           " has the database kelvo.sqlite: give an instance with --database"
                           " postgresql:// a data folder of its own");
    }
    auto database =
        openWithRetries([&place] { return store::makePostgresql(place.url); }, readersOfServer);
    replaceFile(folder.path() / serverName, place.url + "\n", 0600);
    return database;
}

} // namespace

bool isOnServer(const std::filesystem::path& folder)
{
    return std::filesystem::exists(folder / serverName);
}

std::string serverOf(const std::filesystem::path& folder)
{
    const std::string line = readFile(folder / serverName);
    return line.substr(0, line.find('\n'));
}

void requireOwnDatabase(const std::filesystem::path& folder)
{
    if (isOnServer(folder)) {
        throw StartRefused("the data folder " + folder.string() +
                           " belongs to an instance on the database server that its file " +
                           serverName +
                           " names: start the instance with --database; the tools of the database"
                           " server make backups");
    }
    if (std::filesystem::exists(folder / movedName)) {
        throw StartRefused("the service of the data folder " + folder.string() +
                           " has moved to a database on a server, which the file " + movedName +
                           " names: use its instances, because the data in the folder are old");
    }
}

std::unique_ptr<store::Database> openDatabase(const DataFolder& folder, const DatabasePlace& place)
{
    if (std::filesystem::exists(folder.path() / unfinishedRestoreName)) {
        throw StartRefused("a restore of the data folder " + folder.path().string() +
                           " is unfinished: restore again with --force");
    }
    const std::string where = place.isOnServer() ? "on the server" : "in " + folder.path().string();
    try {
        return place.isOnServer() ? openOnServer(folder, place) : openFile(folder, place);
    } catch (const StartRefused&) {
        throw;
    } catch (const store::SchemaTooNew&) {
        throw StartRefused(
            "the database " + where +
            " has a newer schema than this version can use: start a newer version of the"
            " service");
    } catch (const std::exception& error) {
        throw StartRefused("cannot open the database " + where + ": " + error.what());
    }
}

} // namespace kelvo
