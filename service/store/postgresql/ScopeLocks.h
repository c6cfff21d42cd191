// Writing transactions with the locks of their scopes.
#pragma once

#include "service/store/Dialect.h"
#include "service/store/postgresql/Exchange.h"

namespace kelvo::store {

/**
 * Begins a transaction and takes the first two steps of locks in Scope.h, in one round trip. Blocks
 * for the time of two locks at most. Then it takes the locks that are free. Throws StatementFailed
 * if there are none.
 */
WriteStart beginWithLocks(PGconn& connection, const Scopes& scopes);

} // namespace kelvo::store
