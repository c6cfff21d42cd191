// The schema's version.
#include "service/store/Errors.h"
#include "service/store/Schema.h"
#include "tests/service/store/StoreContract.h"

#include <soci/soci.h>

namespace kelvo::test {
namespace {

int versionIn(store::Database& database)
{
    return database.readNow([](soci::session& sql) {
        int version = -1;
        sql << "SELECT version FROM schema_version", soci::into(version);
        return version;
    });
}

TEST_P(StoreContract, IsOfTheNewestSchemaOnceOpened)
{
    EXPECT_EQ(versionIn(*database), store::currentSchema());
    reopen();
    EXPECT_EQ(versionIn(*database), store::currentSchema());
}

TEST_P(StoreContract, RefusesADatabaseOfANewerSchemaAndLeavesItAlone)
{
    const int newer = store::currentSchema() + 1;
    addFarm("Hill Farm");
    write([newer](store::Transaction& t) {
        t.sql << "UPDATE schema_version SET version = :v", soci::use(newer);
    });
    EXPECT_THROW(reopen(), store::SchemaTooNew);
    const auto session = GetParam().connect(folder.path())->connect();
    int version = 0;
    *session << "SELECT version FROM schema_version", soci::into(version);
    EXPECT_EQ(version, newer);
}

} // namespace
} // namespace kelvo::test
