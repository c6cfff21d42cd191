// The databases that the contract suite runs on.
#include "tests/service/store/StoreContract.h"

namespace kelvo::test {

INSTANTIATE_TEST_SUITE_P(Databases, StoreContract,
                         testing::Values(DatabaseKind{"Sqlite",
                                                      [](const std::filesystem::path& folder) {
                                                          return store::makeSqlite(
                                                              (folder / "store.sqlite").string());
                                                      }}),
                         [](const testing::TestParamInfo<DatabaseKind>& kind) {
                             return kind.param.name;
                         });

} // namespace kelvo::test
