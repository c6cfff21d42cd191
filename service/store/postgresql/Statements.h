// SOCI's sessions on PostgreSQL, with fewer round trips.
#pragma once

#include <postgresql/libpq-fe.h>

namespace soci {
class backend_factory;
class session;
} // namespace soci

namespace kelvo::store {

/**
 * Makes sessions whose statements differ from SOCI's own:
 * - A statement that a connection runs again is prepared at the server.
 * - In a transaction, an INSERT, UPDATE, DELETE or SAVEPOINT without a result is deferred: it is
 *   sent with the next statement that has a result, or that ends a savepoint or the transaction.
 *   That statement throws the error of the deferred statement, and is not executed then.
 */
const soci::backend_factory& statementFactory();

/** The connection of a session of this factory, after its deferred statements. Throws as they. */
PGconn& connectionOf(soci::session& session);

/** The connection, also in the middle of its deferred statements. */
const PGconn& rawConnectionOf(soci::session& session);

} // namespace kelvo::store
