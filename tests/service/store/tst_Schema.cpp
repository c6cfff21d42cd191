// The schema's version and its migration.
#include "service/store/AuditTable.h"
#include "service/store/ConsoleTable.h"
#include "service/store/Errors.h"
#include "service/store/EventTable.h"
#include "service/store/Schema.h"
#include "tests/service/store/StoreContract.h"
#include "tests/service/support/StoredLists.h"

#include <soci/soci.h>

#include <initializer_list>
#include <vector>

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

TEST_P(StoreContract, HasTheNewestSchemaAfterOpening)
{
    EXPECT_EQ(versionIn(*database), store::currentSchema());
    reopen();
    EXPECT_EQ(versionIn(*database), store::currentSchema());
}

/** Opens the database as a later version of the service does. */
void openAsLater(const store::Dialect& dialect, std::initializer_list<store::SchemaStep> later)
{
    std::vector<store::SchemaStep> steps(store::schemaSteps().begin(), store::schemaSteps().end());
    steps.insert(steps.end(), later);
    store::migrate(*dialect.connect(), dialect, steps);
}

constexpr const char* expand[] = {"ALTER TABLE farms ADD COLUMN soil TEXT NOT NULL DEFAULT ''"};
constexpr const char* contract[] = {"DROP INDEX users_by_farm"};

TEST_P(StoreContract, UsesANewerSchemaThatAllowsItAndDoesNotChangeIt)
{
    addFarm("Hill Farm");
    database.reset();
    openAsLater(*GetParam().connect(folder.Path()), {{expand, 0}});
    reopen();
    EXPECT_EQ(versionIn(*database), store::currentSchema() + 1);
    EXPECT_EQ(addFarm("Dale Farm").id, 2);
}

TEST_P(StoreContract, RefusesANewerSchemaThatDoesNotAllowItAndDoesNotChangeIt)
{
    database.reset();
    const auto dialect = GetParam().connect(folder.Path());
    openAsLater(*dialect, {{contract, {}}, {expand, 0}});
    EXPECT_THROW(reopen(), store::SchemaTooNew);
    const auto session = dialect->connect();
    int version = 0;
    *session << "SELECT version FROM schema_version", soci::into(version);
    EXPECT_EQ(version, store::currentSchema() + 2);
}

TEST_P(StoreContract, MigratesTheConsolesOfTheFirstSchema)
{
    const TempFolder old;
    const auto dialect = GetParam().connect(old.Path());
    {
        const auto session = dialect->connect();
        store::migrate(*session, *dialect, 1);
        for (const char* statement : {
                 "INSERT INTO farms VALUES (1, 'Hill Farm', 0, 7, 5)",
                 "INSERT INTO users VALUES (1, NULL, 'admin', 'admin', 'h', 0, 0)",
                 "INSERT INTO users VALUES (2, 1, 'olga', 'operator', 'h', 0, 0)",
                 "INSERT INTO users VALUES (3, 1, 'anna', 'office', 'h', 0, 0)",
                 "INSERT INTO users VALUES (4, 1, 'piet', 'operator', 'h', 0, 0)",
                 "INSERT INTO sessions VALUES ('hash', 2, 0, 100)",
                 "INSERT INTO events VALUES (1, 6, 'thing', 0, '{}', '', 0)",
                 "INSERT INTO events VALUES (1, 7, 'thing', 0, '{}', '', 0)",
                 "INSERT INTO environments VALUES (2, '{\"n\":1}', 50)",
                 "INSERT INTO devices VALUES (2, '00:11', '{\"n\":2}', 60)",
                 "INSERT INTO positions VALUES (2, 1, 500, 51.5, 5.25, '', 70)",
                 "INSERT INTO positions VALUES (2, 2, 400, 52.5, 6.25, '00:1b', 80)",
                 "INSERT INTO positions VALUES (4, 1, 300, 53.5, 7.25, '', 90)",
             }) {
            *session << statement;
        }
    }
    store::Database migrated(GetParam().connect(old.Path()));
    const auto consoles = migrated.readNow([](soci::session& sql) { return consolesIn(sql, 1); });
    ASSERT_EQ(consoles.size(), 2U);
    EXPECT_EQ(consoles[0].operatorName, "olga");
    EXPECT_EQ(consoles[0].environment, "{\"n\":1}");
    const auto devices = migrated.readNow(
        [&consoles](soci::session& sql) { return devicesIn(sql, consoles[0].id); });
    EXPECT_EQ(devices.at(0).document, "{\"n\":2}");
    EXPECT_EQ(consoles[0].position->latitudeDeg, 52.5);
    EXPECT_EQ(consoles[1].operatorName, "piet");
    EXPECT_EQ(consoles[1].environment, "");

    std::string environment = "none";
    migrated.readNow([&](soci::session& sql) {
        sql << "SELECT environment FROM sessions WHERE token_hash = 'hash'",
            soci::into(environment);
        return 0;
    });
    EXPECT_EQ(environment, "") << "the first schema did not know the session";

    const store::Session session{"hash", {2, store::Farm{1, "Hill Farm"}, "olga"}, 100};
    migrated.writeNow([&](store::Transaction& t) {
        EXPECT_EQ(store::bindConsole(t, session, ""), consoles[0].id);
        EXPECT_EQ(store::bindConsole(t, session, "00:1b"), 3);
        store::pruneEventsToCount(t, 1, 2);
    });
    EXPECT_EQ(
        migrated.readNow([](soci::session& sql) { return store::eventBounds(sql, 1); }).pruned, 5);
}

TEST_P(StoreContract, MigratesTheEntriesOfTheAuditTrailToTheirShares)
{
    const TempFolder old;
    const auto dialect = GetParam().connect(old.Path());
    {
        const auto session = dialect->connect();
        store::migrate(*session, *dialect, 12); // the last version without shares
        int id = 0;
        for (const char* values : {"'a', 'done', '', 1, '', 1", "'b', 'failed', '', 1, '', 1",
                                   "'c', 'done', '', 1, '', 2", "'d', 'failed', '', 0, '', 0",
                                   "'e', 'done', '', 1, '', 1"}) {
            *session << "INSERT INTO audit VALUES (" << ++id << ", 5, " << values << ", '', 0, '')";
        }
        *session << "UPDATE counters SET value = 5 WHERE name = 'audit'";
    }
    store::Database migrated(GetParam().connect(old.Path()));
    migrated.writeNow([](store::Transaction& t) {
        store::AuditEntry entry;
        entry.outcome = "done";
        entry.farm = 1;
        store::addAudit(t, entry, {2, 1, 1}); // replaces the first of three changes of the farm
    });
    const auto left = migrated.readNow([](soci::session& sql) {
        std::string actions;
        store::auditOf(sql, {.most = 10}, [&actions](const store::AuditEntry& entry) {
            actions += entry.action;
            return true;
        });
        return actions;
    });
    EXPECT_EQ(left, "edcb");
}

} // namespace
} // namespace kelvo::test
