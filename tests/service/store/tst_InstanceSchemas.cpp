// Several instances on one database: migrations while others run.
#include "service/store/Errors.h"
#include "service/store/Schema.h"
#include "tests/service/store/InstancesFixture.h"

#include <span>
#include <thread>
#include <vector>

namespace kelvo::test {
namespace {

TEST_P(Instances, MigrateANewDatabaseOnceWhenTheyStartTogether)
{
    const TempFolder fresh;
    GetParam().connect(fresh.Path()); // makes the empty database
    std::atomic<int> failures = 0;
    std::vector<std::thread> starts;
    for (int i = 0; i < 4; ++i) {
        starts.emplace_back([&] {
            try {
                const store::Database started(GetParam().connect(fresh.Path()));
            } catch (const std::exception&) {
                ++failures;
            }
        });
    }
    for (std::thread& start : starts) {
        start.join();
    }
    EXPECT_EQ(failures, 0);
}

TEST_P(Instances, DoNotMigrateASchemaThatAnotherUses)
{
    const TempFolder old;
    const auto dialect = GetParam().connect(old.Path());
    auto older = dialect->connect();
    store::migrate(*older, *dialect, store::currentSchema() - 1);
    const auto start = [&] { const store::Database started(GetParam().connect(old.Path())); };
    EXPECT_THROW(start(), store::SchemaInUse);
    older.reset();
    EXPECT_NO_THROW(start());
}

TEST_P(Instances, GoOnWhileALaterVersionExpandsTheSchemaAndRefuseItsContraction)
{
    static constexpr const char* expand[] = {
        "ALTER TABLE farms ADD COLUMN soil TEXT NOT NULL DEFAULT ''"};
    static constexpr const char* contract[] = {"DROP INDEX users_by_farm"};
    std::vector<store::SchemaStep> steps(store::schemaSteps().begin(), store::schemaSteps().end());
    const auto dialect = GetParam().connect(folder.Path());
    const auto later = dialect->connect();

    steps.push_back({expand, 0});
    EXPECT_NO_THROW(store::migrate(*later, *dialect, steps));
    EXPECT_EQ(addFarm("Hill Farm").id, 1);
    database = open();
    EXPECT_EQ(addFarm("Dale Farm").id, 2) << "an instance that starts again";

    const auto newest = dialect->connect();
    steps.push_back({contract, static_cast<int>(steps.size())}); // `later` does not use the index
    EXPECT_THROW(store::migrate(*newest, *dialect, steps), store::SchemaInUse);
    EXPECT_EQ(addFarm("Moor Farm").id, 3);
    for (auto* instance : {&database, &other, &watcher}) {
        instance->reset();
    }
    EXPECT_NO_THROW(store::migrate(*newest, *dialect, steps)) << "beside `later`";
    EXPECT_THROW(open(), store::SchemaTooNew);
    EXPECT_NO_THROW(store::migrate(*later, *dialect, std::span(steps).first(steps.size() - 1)));

    steps.push_back({expand, {}});
    EXPECT_THROW(store::migrate(*newest, *dialect, steps), store::SchemaInUse) << "`later` runs";
}

} // namespace
} // namespace kelvo::test
