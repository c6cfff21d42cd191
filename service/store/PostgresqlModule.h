// The entry of the module for PostgreSQL, and the function that loads the module.
#pragma once

#include "service/store/Dialect.h"

#include <filesystem>
#include <memory>
#include <string>

namespace kelvo::store {

/**
 * The first member stays the same in all versions. The other members may be used only if the
 * version is the program's.
 */
struct PostgresqlModule
{
    const char* version;                      // of the service
    Dialect* (*make)(const std::string& url); // the caller owns the result
};

/** The only function of the module. */
using DescribeModule = const PostgresqlModule* (*)();
inline constexpr const char* describeModuleName = "kelvoDescribeModule";

/**
 * As makePostgresql(), with the module in this file. Throws std::runtime_error also if the module
 * belongs to another version of the service.
 */
std::unique_ptr<Dialect> makePostgresql(const std::string& url,
                                        const std::filesystem::path& module);

} // namespace kelvo::store
