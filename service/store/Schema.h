// The tables, and how an older database becomes a newer one.
#pragma once

namespace soci {
class session;
}

namespace kelvo::store {

class Dialect;

/** The schema version that this program writes. */
int currentSchema();

/**
 * Brings an older database to this schema, the program's own unless said, in one transaction.
 * Writes nothing to one that is up to date. Throws SchemaTooNew for one that is newer than the
 * program's.
 */
void migrate(soci::session& sql, const Dialect& dialect, int target = currentSchema());

} // namespace kelvo::store
