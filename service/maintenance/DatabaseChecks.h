// What must hold between the rows of the database.
#pragma once

#include <string>
#include <vector>

namespace soci {
class session;
}

namespace kelvo::maintenance {

/** A line for each thing that is wrong; none when all is well. */
std::vector<std::string> checkDatabase(soci::session& sql);

} // namespace kelvo::maintenance
