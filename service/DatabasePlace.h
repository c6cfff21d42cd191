// Where the rows of the service are.
#pragma once

#include <filesystem>
#include <string>

namespace kelvo {

/** A SQLite file of this machine or a database on a PostgreSQL server. */
struct DatabasePlace
{
    std::filesystem::path file; // empty: kelvo.sqlite in the data folder
    std::string url;            // of a PostgreSQL server; empty: SQLite

    bool isOnServer() const { return !url.empty(); }

    /** Reads "sqlite:FILE" or "postgresql://…". Throws std::invalid_argument. */
    static DatabasePlace parse(const std::string& text);
};

} // namespace kelvo
