// The tables, and how an older database becomes a newer one.
#pragma once

namespace soci {
class session;
}

namespace kelvo::store {

class Dialect;

/** Brings the database to this version's schema in one transaction. Throws SchemaTooNew. */
void migrate(soci::session& sql, const Dialect& dialect);

/** The schema version that this program writes. */
int currentSchema();

} // namespace kelvo::store
