#include "service/maintenance/DatabaseCopy.h"

#include "service/base/Random.h"
#include "service/maintenance/FileCopies.h"
#include "service/store/Schema.h"

#include <soci/soci.h>
#include <sqlite3.h>

#include <cerrno>
#include <optional>
#include <stdexcept>

#include <fcntl.h>
#include <sys/file.h>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

namespace {

constexpr int busyTimeoutMs = 60 * 1000;

struct CloseDatabase
{
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
};
using Handle = std::unique_ptr<sqlite3, CloseDatabase>;

Handle openRaw(const fs::path& file, int flags)
{
    sqlite3* raw = nullptr;
    const int result = sqlite3_open_v2(file.c_str(), &raw, flags, nullptr);
    Handle handle(raw);
    if (result != SQLITE_OK) {
        throw std::runtime_error(std::string("the database cannot be opened: ") +
                                 sqlite3_errstr(result));
    }
    sqlite3_busy_timeout(raw, busyTimeoutMs);
    return handle;
}

/** Copies in one step: a copy in several steps would restart at every commit of the service. */
void copyPages(sqlite3& source, sqlite3& target)
{
    sqlite3_backup* backup = sqlite3_backup_init(&target, "main", &source, "main");
    if (backup == nullptr) {
        throw std::runtime_error("the database cannot be copied");
    }
    const int copied = sqlite3_backup_step(backup, -1);
    const int finished = sqlite3_backup_finish(backup);
    if (copied != SQLITE_DONE || finished != SQLITE_OK) {
        throw std::runtime_error(std::string("the database cannot be copied: ") +
                                 sqlite3_errstr(copied != SQLITE_DONE ? copied : finished));
    }
}

/**
 * The service's log grows while its database is read. So the database is first read into a
 * temporary file of SQLite without a name, which no crash can leave behind. The second step writes
 * and syncs the target, which may be slow.
 */
void copyInUse(const fs::path& from, const fs::path& to)
{
    constexpr int writing = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    const Handle staged = openRaw("", writing);
    copyPages(*openRaw(from, SQLITE_OPEN_READONLY), *staged);
    copyPages(*staged, *openRaw(to, writing));
}

/**
 * Takes a shared lock on the folder, so that no service starts meanwhile. Empty if a service runs.
 */
std::optional<FileDescriptor> lockShared(const fs::path& dataFolder)
{
    FileDescriptor lock(::open((dataFolder / "lock").c_str(), O_RDONLY | O_CLOEXEC));
    if (!lock && errno == ENOENT) {
        return FileDescriptor();
    }
    if (!lock) {
        throwErrno("open");
    }
    if (::flock(lock.get(), LOCK_SH | LOCK_NB) != 0) {
        return std::nullopt;
    }
    return lock;
}

/** Files beside a database that belong to it. A copy needs the first two. */
constexpr const char* companions[] = {"-journal", "-wal", "-shm"};

fs::path besideDatabase(fs::path database, const char* suffix)
{
    return database += suffix;
}

/**
 * Rolls back an unfinished transaction, takes the committed ones out of the log, and leaves one
 * file. A damaged database stays as it is: the program that reads the copy reports the damage.
 */
void makeOneFile(const fs::path& database)
{
    // The first statement makes SQLite read the journal or the log.
    constexpr const char* statements =
        "SELECT COUNT(*) FROM sqlite_master; PRAGMA journal_mode = DELETE";
    {
        const Handle copy = openRaw(database, SQLITE_OPEN_READWRITE);
        const int result = sqlite3_exec(copy.get(), statements, nullptr, nullptr, nullptr);
        if (result == SQLITE_CORRUPT || result == SQLITE_NOTADB) {
            return;
        }
        if (result != SQLITE_OK) {
            throw std::runtime_error(std::string("the database cannot be read: ") +
                                     sqlite3_errstr(result));
        }
    }
    for (const char* suffix : companions) {
        fs::remove(besideDatabase(database, suffix)); // SQLite leaves an empty journal
    }
}

/** The files of a database that no service uses. */
void copyUnused(const fs::path& from, const fs::path& to)
{
    copyFile(from, to);
    for (const char* suffix : {companions[0], companions[1]}) {
        if (fs::exists(besideDatabase(from, suffix))) {
            copyFile(besideDatabase(from, suffix), besideDatabase(to, suffix));
        }
    }
    makeOneFile(to);
    syncFolder(to.parent_path());
}

} // namespace

bool isInUse(const fs::path& dataFolder)
{
    return !lockShared(dataFolder).has_value();
}

void copyDatabase(const fs::path& dataFolder, const fs::path& to)
{
    const fs::path from = dataFolder / databaseName;
    if (!fs::exists(from)) {
        throw std::runtime_error("there is no database in " + dataFolder.string());
    }
    if (const auto lock = lockShared(dataFolder)) {
        copyUnused(from, to);
        return;
    }
    copyInUse(from, to);
    makeOneFile(to);
    syncFolder(to.parent_path());
}

DatabaseSnapshot::DatabaseSnapshot(const fs::path& dataFolder)
{
    openCopy([&dataFolder](const fs::path& to) { copyDatabase(dataFolder, to); });
}

DatabaseSnapshot::DatabaseSnapshot(const DataFolder& locked)
{
    openCopy([&locked](const fs::path& to) { copyUnused(locked.path() / databaseName, to); });
}

void DatabaseSnapshot::openCopy(const std::function<void(const fs::path& to)>& copy)
{
    const fs::path folder = fs::temp_directory_path() / ("kelvo-snapshot-" + randomHex(8));
    fs::create_directory(folder);
    try {
        fs::permissions(folder, fs::perms::owner_all);
        copy(folder / databaseName);
        session_ = store::makeSqliteCopy((folder / databaseName).string())->connect();
        requireSchema(*session_, true);
    } catch (...) {
        std::error_code ignored;
        fs::remove_all(folder, ignored);
        throw;
    }
    // The open database needs no name. Without a name an interrupted program leaves no password
    // hashes behind.
    std::error_code ignored;
    fs::remove_all(folder, ignored);
}

DatabaseSnapshot::~DatabaseSnapshot() = default;

void requireSchema(soci::session& sql, bool exactly)
{
    int version = 0;
    sql << "SELECT version FROM schema_version", soci::into(version);
    if (version > store::currentSchema()) {
        throw StartRefused("the database has a newer schema than this version knows");
    }
    if (exactly && version < store::currentSchema()) {
        throw StartRefused("the database has an older schema: start the service once");
    }
}

} // namespace kelvo::maintenance
