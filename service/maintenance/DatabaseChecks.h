// The rules that hold between the rows of the database.
#pragma once

#include <string>
#include <vector>

namespace soci {
class session;
}

namespace kelvo::maintenance {

/** Returns a line for each broken rule; empty if all is well. */
std::vector<std::string> checkRows(soci::session& sql);

/** For a transaction on a server that walks large tables: it has no timeouts until its end. */
void allowLongStatements(soci::session& sql);

/** As checkRows(); checks the pages and the references of a SQLite database too. */
std::vector<std::string> checkDatabase(soci::session& sql);

} // namespace kelvo::maintenance
