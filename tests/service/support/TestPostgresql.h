// Databases on the PostgreSQL server that tests/support/postgresql_server.py has started.
#pragma once

#include "service/store/Dialect.h"

#include <soci/soci.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace kelvo::test {

/** Without a server, the tests run on SQLite only. */
inline bool hasPostgresql()
{
    return std::getenv("KELVO_TEST_POSTGRESQL") != nullptr;
}

/** The URL of a database for this folder, which is made the first time. */
inline std::string postgresqlUrl(const std::filesystem::path& folder)
{
    const std::string first = std::getenv("KELVO_TEST_POSTGRESQL");
    const std::string name = folder.filename().string();
    const auto server = store::makePostgresql(first)->connect();
    int found = 0;
    *server << "SELECT COUNT(*) FROM pg_database WHERE datname = :name", soci::use(name),
        soci::into(found);
    if (found == 0) {
        *server << "CREATE DATABASE \"" << name << "\"";
    }
    std::string url = first;
    return url.replace(url.find("/test?"), 6, "/" + name + "?");
}

} // namespace kelvo::test
