// The databases that the contract suites run on.
#include "tests/service/store/StoreContract.h"

#include "tests/service/support/TestPostgresql.h"

namespace kelvo::test {

std::vector<DatabaseKind> databaseKinds()
{
    std::vector<DatabaseKind> kinds{{"Sqlite", [](const std::filesystem::path& folder) {
                                         return store::makeSqlite(
                                             (folder / "store.sqlite").string());
                                     }}};
    if (hasPostgresql()) {
        kinds.push_back({"Postgresql", [](const std::filesystem::path& folder) {
                             return store::makePostgresql(postgresqlUrl(folder));
                         }});
    }
    return kinds;
}

std::string nameOf(const testing::TestParamInfo<DatabaseKind>& kind)
{
    return kind.param.name;
}

INSTANTIATE_TEST_SUITE_P(Databases, StoreContract, testing::ValuesIn(databaseKinds()), nameOf);

} // namespace kelvo::test
