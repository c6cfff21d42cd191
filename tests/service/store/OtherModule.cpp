// A module for PostgreSQL of another version of the service, which must not be used.
#include "service/store/PostgresqlModule.h"

#include <cstdlib>

extern "C" __attribute__((visibility("default"))) const kelvo::store::PostgresqlModule*
kelvoDescribeModule()
{
    static constexpr kelvo::store::PostgresqlModule module{
        "0.0.1", [](const std::string&) -> kelvo::store::Dialect* { std::abort(); }};
    return &module;
}
