// Another program that has the service's database open.
#pragma once

#include "service/store/Database.h"
#include "service/store/Dialect.h"

#include <soci/soci.h>

#include <memory>

namespace kelvo::test {

class OtherProgram
{
public:
    explicit OtherProgram(const store::Dialect& dialect) : sql_(dialect.connect()) {}

    /** Reads until unlock(). */
    void beginRead()
    {
        int rows = 0;
        *sql_ << "BEGIN";
        *sql_ << "SELECT COUNT(*) FROM farms", soci::into(rows);
    }

    /** Locks the database against other writers until unlock(). */
    void lockWrites() { *sql_ << "BEGIN EXCLUSIVE"; }

    void unlock() { *sql_ << "ROLLBACK"; }

private:
    std::unique_ptr<soci::session> sql_;
};

/** From now on this database does not wait for locks. Not to be called while others use it. */
inline void disableBusyTimeout(store::Database& database)
{
    static constexpr const char* pragma = "PRAGMA busy_timeout = 0";
    database.writeNow([](store::Transaction& t) { t.sql << pragma; });
    database.readNow([](soci::session& sql) { sql << pragma; });
}

} // namespace kelvo::test
