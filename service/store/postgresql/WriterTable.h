// The table `writers`. It tells later which transactions are committed.
#pragma once

#include "service/store/postgresql/Exchange.h"

#include <string>

namespace kelvo::store {

/**
 * Names a new connection. No other connection may ever have the name.
 *
 * Each connection that writes has a row with its name and a number. Each of its transactions raises
 * the number, so the number is committed with the transaction's changes. A server that has lost the
 * transaction in a crash, and a promoted standby that never had it, have the older number.
 */
std::string nameWriter(const std::string& name);

/** Makes the table, if there is none, and removes the rows of connections from days ago. */
std::string prepareWriters();

/**
 * The last statement of a transaction's begin. Its result is the transaction's id. The transaction
 * has the lock of its row from now on.
 */
std::string numberTransaction();

/** The name of the transaction's connection. */
std::string writerOf(const std::string& transaction);

/**
 * Whether the transaction is committed. Call on another connection, after the COMMIT was sent and
 * before the next transaction of that connection. Throws StatementFailed while the transaction
 * runs. Blocks for `limit` at most.
 *
 * Writes the row again: if commits wait for a standby, the standby then has the transaction too.
 */
bool isCommitted(PGconn& connection, const std::string& transaction, std::chrono::seconds limit);

} // namespace kelvo::store
