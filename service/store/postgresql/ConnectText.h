// The parameters of a connection to PostgreSQL.
#pragma once

#include <string>

namespace kelvo::store {

/**
 * Returns `url` as libpq's connection string, with our parameters: TLS with verification unless the
 * server is on a Unix socket, a server that takes changes, and limits for a silent network. Throws
 * std::runtime_error if the URL is wrong or has a password. The text of the error has no password.
 */
std::string connectText(const std::string& url);

} // namespace kelvo::store
