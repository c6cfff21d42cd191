// Somebody else who has the service's database open.
#pragma once

#include "service/store/Database.h"
#include "service/store/Dialect.h"

#include <soci/soci.h>

#include <filesystem>
#include <memory>

namespace kelvo::test {

class OtherProgram
{
public:
    explicit OtherProgram(const std::filesystem::path& database)
        : sql_(store::makeSqlite(database.string())->connect())
    {}

    /** Reads, so that nobody can commit until letGo(). */
    void read()
    {
        int rows = 0;
        *sql_ << "BEGIN";
        *sql_ << "SELECT COUNT(*) FROM farms", soci::into(rows);
    }

    /** Keeps it for itself, so that nobody can read until letGo(). */
    void keep() { *sql_ << "BEGIN EXCLUSIVE"; }

    void letGo() { *sql_ << "ROLLBACK"; }

private:
    std::unique_ptr<soci::session> sql_;
};

/** From now on this database waits for nobody. Not while others use it. */
inline void makeImpatient(store::Database& database)
{
    static constexpr const char* impatience = "PRAGMA busy_timeout = 0";
    database.writeNow([](store::Transaction& t) { t.sql << impatience; });
    database.readNow([](soci::session& sql) { sql << impatience; });
}

} // namespace kelvo::test
