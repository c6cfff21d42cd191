// The tables, and the migration of an older database.
#pragma once

namespace soci {
class session;
}

namespace kelvo::store {

class Dialect;

/** The schema version that this program writes. */
int currentSchema();

/**
 * Migrates an older database to the schema `target`, by default the program's, in one transaction.
 * Does not write to a current database. Throws SchemaTooNew if the database is newer than the
 * program's schema.
 */
void migrate(soci::session& sql, const Dialect& dialect, int target = currentSchema());

} // namespace kelvo::store
