// SQLite.
#include "service/store/Dialect.h"

#include "service/base/Log.h"
#include "service/store/Errors.h"

#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

#include <atomic>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvo::store {

namespace {

constexpr mode_t ownerOnly = 0600;

/** The connect string cannot contain a quoted quote. */
std::string quoted(const std::string& file)
{
    if (file.find('"') != std::string::npos) {
        throw std::runtime_error("the data folder's name must not hold a double quote");
    }
    return "\"" + file + "\"";
}

/**
 * Makes the database readable by its owner only; SQLite gives its other files the same mode. The
 * file is not opened if it exists: closing it would drop SQLite's locks.
 */
void makePrivate(const std::string& file)
{
    ::close(::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly));
    for (const char* suffix : {"", "-wal", "-shm"}) {
        ::chmod((file + suffix).c_str(), ownerOnly);
    }
}

/**
 * SQLite's locks for a connection that several threads use at once are not needed: Database gives a
 * connection to one thread at a time. Has an effect before the first connection only.
 */
void leaveOutLocks()
{
    [[maybe_unused]] static const int result =
        sqlite_api::sqlite3_config(SQLITE_CONFIG_MULTITHREAD);
}

class Sqlite final : public Dialect
{
public:
    /** `journal`: a journal mode of SQLite. */
    Sqlite(const std::string& file, std::string journal)
        : connectString_("dbname=" + quoted(file)), journal_(std::move(journal))
    {
        makePrivate(file);
        leaveOutLocks();
    }

    std::unique_ptr<soci::session> connect() const override
    {
        // The timeout matters only when another program has the file locked.
        auto session = std::make_unique<soci::session>(*soci::factory_sqlite3(),
                                                       connectString_ + " timeout=4");
        // With a write-ahead log each commit syncs the log. With a rollback journal EXTRA also
        // syncs the removal of the journal, which is the commit there.
        const char* const settings[] = {
            everyCommit,
            "PRAGMA foreign_keys = ON",
            "PRAGMA cache_size = -1024",
            "PRAGMA temp_store = MEMORY",
            // A long reader, such as a backup, lets the log grow; later the log shrinks again.
            "PRAGMA journal_size_limit = 16777216",
        };
        for (const char* setting : settings) {
            *session << setting;
        }
        std::string mode;
        *session << "PRAGMA journal_mode = " << journal_, soci::into(mode);
        hasLog_ = mode == "wal";
        if (mode != journal_ && !warned_.test_and_set()) {
            logWarning("journal-mode",
                       "the database uses the journal mode " + mode + " instead of " + journal_);
        }
        return session;
    }

    const char* beginRead() const override { return "BEGIN"; }

    /** Locks the whole database. A transaction that first reads could fail when it writes. */
    WriteStart beginWrite(soci::session& sql, const Scopes& scopes) const override
    {
        sql << "BEGIN IMMEDIATE";
        return {{}, scopes};
    }

    /** With a rollback journal, a commit without its syncs could damage the database. */
    const char* setDurability(EDurability durability) const override
    {
        return durability == EDurability::Later && hasLog_ ? "PRAGMA synchronous = NORMAL"
                                                           : everyCommit;
    }

    void translate(const std::exception& error) const override
    {
        const auto* failure = dynamic_cast<const soci::sqlite3_soci_error*>(&error);
        // The low byte is the error; the other bytes only add details.
        const int code = failure != nullptr ? failure->result() & 0xff : SQLITE_OK;
        if (code == SQLITE_FULL) {
            throw StorageFull();
        }
        if (code == SQLITE_BUSY) {
            throw StoreBusy();
        }
        const std::string text = error.what();
        if (text.find("UNIQUE constraint failed") != std::string::npos) {
            throwIfNotUnique(text);
        }
        if (text.find("database or disk is full") != std::string::npos) {
            throw StorageFull();
        }
    }

private:
    static constexpr const char* everyCommit = "PRAGMA synchronous = EXTRA";

    std::string connectString_;
    std::string journal_;
    mutable std::atomic_flag warned_;          // the service makes several connections
    mutable std::atomic<bool> hasLog_ = false; // the write-ahead log
};

} // namespace

std::unique_ptr<Dialect> makeSqlite(const std::string& file)
{
    return std::make_unique<Sqlite>(file, "wal");
}

std::unique_ptr<Dialect> makeSqliteCopy(const std::string& file)
{
    return std::make_unique<Sqlite>(file, "delete");
}

} // namespace kelvo::store
