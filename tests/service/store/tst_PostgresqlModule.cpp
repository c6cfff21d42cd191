// The module for PostgreSQL and its version. The database itself is tested by the suites of the
// store.
#include "service/store/PostgresqlModule.h"

#include <gmock/gmock.h>

namespace kelvo::store {
namespace {

using testing::AllOf;
using testing::HasSubstr;

std::string failureWith(const std::filesystem::path& module)
{
    try {
        makePostgresql("postgresql://127.0.0.1/kelvo", module);
        return "none";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

TEST(PostgresqlModules, AreRefusedWithAnotherVersion)
{
    EXPECT_THAT(failureWith(KELVO_OTHER_MODULE),
                AllOf(HasSubstr("version 0.0.1"), HasSubstr("version " KELVO_SERVICE_VERSION)));
}

TEST(PostgresqlModules, AreRefusedWithoutAVersion)
{
    EXPECT_THAT(failureWith("libm.so.6"), HasSubstr("version unknown"));
}

TEST(PostgresqlModules, NameTheirPackageIfTheyAreMissing)
{
    EXPECT_THAT(failureWith("/none/postgresql.so"), HasSubstr("install the package"));
}

} // namespace
} // namespace kelvo::store
