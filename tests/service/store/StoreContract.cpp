// The databases that the contract suites run on.
#include "tests/service/store/StoreContract.h"

namespace kelvo::test {

std::vector<DatabaseKind> databaseKinds()
{
    return {{"Sqlite", [](const std::filesystem::path& folder) {
                 return store::makeSqlite((folder / "store.sqlite").string());
             }}};
}

std::string nameOf(const testing::TestParamInfo<DatabaseKind>& kind)
{
    return kind.param.name;
}

INSTANTIATE_TEST_SUITE_P(Databases, StoreContract, testing::ValuesIn(databaseKinds()), nameOf);

} // namespace kelvo::test
