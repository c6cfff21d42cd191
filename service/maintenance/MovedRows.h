// Copies the rows of a one-machine service into a database on a server.
#pragma once

#include "service/maintenance/Progress.h"
#include "service/store/Database.h"

#include <cstdint>

namespace soci {
class session;
}

namespace kelvo::maintenance {

struct MovedRows
{
    std::uint64_t tables = 0;
    std::uint64_t rows = 0;
};

/**
 * Replaces the rows of the target by the rows of `source`, a SQLite database with the same schema.
 * The tables and columns come from the schema of the source. Tables that belong to a place of rows
 * or bytes are left out. The server returns each row as it has stored it, and the number of rows of
 * each table is counted at the end. Call it only if all rows of the target come from `source`, or
 * from the new schema. Blocks. Errors: of the databases; std::runtime_error if the
 * schemas or the stored rows differ. After an error the caller rolls back.
 */
MovedRows moveRows(soci::session& source, store::Transaction& target, Progress& progress);

} // namespace kelvo::maintenance
