// A consistent copy of a data folder's database, with or without a running service.
#pragma once

#include "service/DataFolder.h"
#include "service/base/Files.h"
#include "service/store/Dialect.h"

#include <filesystem>
#include <functional>
#include <memory>

namespace soci {
class session;
}

namespace kelvo::maintenance {

inline constexpr const char* databaseName = "kelvo.sqlite";

/** Whether a service runs on the folder now. */
bool isInUse(const std::filesystem::path& dataFolder);

/**
 * Copies one state of the database to a new file and syncs it. The copy is one file with a rollback
 * journal. Throws std::runtime_error, std::system_error.
 *
 * If a service runs, the pages are copied through a temporary file (in $TMPDIR, or /var/tmp). The
 * service's log grows only while the temporary file is written, however slow the target's disk is.
 * Otherwise the files are copied, and a transaction that a crash left unfinished is rolled back in
 * the copy; the original is only read.
 */
void copyDatabase(const std::filesystem::path& dataFolder, const std::filesystem::path& to);

/**
 * A copy that is open for reading. Its file has no name once it is open, and goes with this object.
 */
class DatabaseSnapshot
{
public:
    /**
     * Throws as copyDatabase(). Throws StartRefused if the schema is not the schema of this
     * program.
     */
    explicit DatabaseSnapshot(const std::filesystem::path& dataFolder);

    /** Of a folder that the caller has locked. */
    explicit DatabaseSnapshot(const DataFolder& locked);
    ~DatabaseSnapshot();
    DatabaseSnapshot(const DatabaseSnapshot&) = delete;
    DatabaseSnapshot& operator=(const DatabaseSnapshot&) = delete;

    soci::session& sql() const { return *session_; }

private:
    void openCopy(const std::function<void(const std::filesystem::path& to)>& copy);

    std::unique_ptr<soci::session> session_;
};

/**
 * Throws StartRefused if the database's schema is newer than this program's schema. With `exactly`,
 * an older schema is refused too.
 */
void requireSchema(soci::session& sql, bool exactly);

} // namespace kelvo::maintenance
