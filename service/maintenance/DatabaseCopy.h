// A consistent copy of a data folder's database, whether a service runs on it or not.
#pragma once

#include "service/base/Files.h"
#include "service/store/Dialect.h"

#include <filesystem>
#include <memory>

namespace soci {
class session;
}

namespace kelvo::maintenance {

inline constexpr const char* databaseName = "kelvo.sqlite";

/** Whether a service runs on the folder at this moment. */
bool isInUse(const std::filesystem::path& dataFolder);

/**
 * Copies one state of the database to a new file, synced. Beside a running service this is done
 * page by page by way of a temporary file (in $TMPDIR, or /var/tmp); commits wait only while that
 * one is written, whatever the target's disk takes. Otherwise file by file, and a transaction that
 * a crash left unfinished is undone in the copy; the original is only read. Throws
 * std::runtime_error, std::system_error.
 */
void copyDatabase(const std::filesystem::path& dataFolder, const std::filesystem::path& to);

/** A copy, open for reading, that goes with this object and has no name once it is open. */
class DatabaseSnapshot
{
public:
    /** Throws as copyDatabase(), and StartRefused for a schema that is not this program's. */
    explicit DatabaseSnapshot(const std::filesystem::path& dataFolder);
    ~DatabaseSnapshot();
    DatabaseSnapshot(const DatabaseSnapshot&) = delete;
    DatabaseSnapshot& operator=(const DatabaseSnapshot&) = delete;

    soci::session& sql() const { return *session_; }

private:
    std::unique_ptr<soci::session> session_;
};

/** Throws StartRefused unless the database's schema is at most, or with `exactly` just, the
 * one of this program. */
void requireSchema(soci::session& sql, bool exactly);

} // namespace kelvo::maintenance
