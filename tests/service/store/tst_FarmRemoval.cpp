// A deleted farm is gone at once. Its rows are removed in steps.
#include "service/store/FarmRemoval.h"
#include "service/store/QuotaTable.h"
#include "service/store/SessionTable.h"
#include "tests/service/store/StoreContract.h"
#include "tests/service/support/StoredLists.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <array>
#include <map>

namespace kelvo::test {
namespace {

using store::Transaction;
using testing::IsEmpty;

constexpr int many = 250; // more than two steps

/** The values of a statement are $farm, $owner, $key, which is different in each farm, and $i. */
constexpr std::array rowsOfAFarm{
    "INSERT INTO users (id, farm_id, name, role, password_hash, disabled, created_ms)"
    " VALUES ($key, $farm, 'u$key', 'operator', '', 0, 0)",
    "INSERT INTO consoles (id, farm_id, identity, user_id, environment, environment_ms,"
    " last_number, last_event) VALUES ($key, $farm, 'c$key', $owner, '', 0, 1, 0)",
    "INSERT INTO track (console_id, number, user_id, time_s, latitude, longitude, received_ms)"
    " VALUES ($key, 1, $owner, 1, 1, 1, 1)",
    "INSERT INTO console_devices (console_id, hardware_address, document, received_ms)"
    " VALUES ($key, '', '', 0)",
    "INSERT INTO login_places (user_id, network, last_ms) VALUES ($key, 'n', 0)",
    "INSERT INTO sessions (token_hash, user_id, created_ms, expires_ms, console_id)"
    " VALUES ('t$key', $owner, 0, 1700000000001, $key)",
    "INSERT INTO files (farm_id, id, inbox_id, name, size_bytes, sha256, created_ms)"
    " VALUES ($farm, $key, 900, 'a', 1, 'aa', 0)",
    "INSERT INTO fetches (farm_id, file_id, console_id, user_id, fetched_ms, unpacked_ms,"
    " unpack_error) VALUES ($farm, $key, $key, $owner, 0, 0, '')",
    "INSERT INTO uploads (id, farm_id, user_id, name, targets, length_bytes, created_ms,"
    " expires_ms, finished, sha256, files, warnings)"
    " VALUES ('p$key', $farm, $owner, 'a', '900', 1, 0, 1, 0, '', '', '')",
    "INSERT INTO events (farm_id, id, name, owner_id, full_data, common_data, created_ms)"
    " VALUES ($farm, $i + 1, 'thing', 0, '', '', 0)",
    "UPDATE farms SET last_event = last_event + 1, kept_events = kept_events + 1"
    " WHERE id = $farm",
    "INSERT INTO audit (id, at_ms, action, outcome, address, actor_id, actor_name, farm_id,"
    " object_kind, object_id, object_name) VALUES ($key, 0, 'user-add', 'done', 'address',"
    " $owner, 'actor', $farm, 'user', 1, 'object')",
};

std::string filledIn(std::string statement, const std::map<std::string, long long>& values)
{
    for (const auto& [name, value] : values) {
        for (auto at = statement.find(name); at != std::string::npos; at = statement.find(name)) {
            statement.replace(at, name.size(), std::to_string(value));
        }
    }
    return statement;
}

/** Two farms with rows in every table. The first farm is deleted. */
class FarmRemoval : public StoreContract
{
protected:
    FarmRemoval()
    {
        for (const store::Farm& farm : {gone, kept}) {
            const store::User user = addUser(farm, "user of " + farm.name);
            write([&](Transaction& t) { fill(t, farm, user); });
            users.push_back(user.id);
        }
    }

    static void fill(Transaction& t, const store::Farm& farm, const store::User& user)
    {
        t.sql << "INSERT INTO inboxes (farm_id, id, project_id, owner_id, created_ms)"
                 " VALUES (:farm, 900, 1, :owner, 0)",
            soci::use(farm.id), soci::use(user.id);
        for (int i = 0; i < many; ++i) {
            const std::map<std::string, long long> values{
                {"$farm", farm.id}, {"$owner", user.id}, {"$key", 1000 * farm.id + i}, {"$i", i}};
            for (const char* statement : rowsOfAFarm) {
                t.sql << filledIn(statement, values);
            }
        }
        store::countFiles(t, farm.id, user.id, many, many);
        store::setQuota(t, farm.id, store::EQuotaScope::Farm, "files", 300);
    }

    long long count(const std::string& from)
    {
        return read([&from](soci::session& sql) {
            long long found = 0;
            sql << "SELECT COUNT(*) FROM " + from, soci::into(found);
            return found;
        });
    }

    /** The rows of a farm in all tables. */
    long long rowsOf(const store::Farm& farm)
    {
        const std::string id = std::to_string(farm.id);
        long long all = 0;
        for (const char* table : {"users", "consoles", "files", "fetches", "uploads", "events",
                                  "inboxes", "projects", "quotas"}) {
            all += count(std::string(table) + " WHERE farm_id = " + id);
        }
        const std::string ofKeys = " BETWEEN " + id + "000 AND " + id + "999";
        return all + count("track WHERE console_id" + ofKeys) +
               count("console_devices WHERE console_id" + ofKeys) +
               count("login_places WHERE user_id" + ofKeys) +
               count("sessions WHERE console_id" + ofKeys) + count("farms WHERE id = " + id);
    }

    long long namesInAudit(const store::Farm& farm)
    {
        return count("audit WHERE farm_id = " + std::to_string(farm.id) +
                     " AND (actor_name <> '' OR address <> '' OR object_name <> '')");
    }

    void deleteIt()
    {
        write([this](Transaction& t) { store::deleteFarm(t, gone.id, now); });
    }

    const store::Farm gone = addFarm("Hill Farm");
    const store::Farm kept = addFarm("Dale Farm");
    std::vector<store::Id> users;
};

TEST_P(FarmRemoval, HidesTheFarmAtOnce)
{
    deleteIt();
    read([this](soci::session& sql) {
        EXPECT_FALSE(store::farmById(sql, gone.id));
        EXPECT_FALSE(store::farmByName(sql, gone.name));
        EXPECT_THAT(store::allFarms(sql), testing::SizeIs(1));
        EXPECT_FALSE(store::userById(sql, users.front()));
        EXPECT_FALSE(store::credentialsOf(sql, "user of Hill Farm"));
        EXPECT_THAT(usersIn(sql, {.farm = gone.id}), IsEmpty());
        EXPECT_FALSE(store::findSession(sql, "t1000", {now}));
        EXPECT_TRUE(store::findSession(sql, "t2000", {now}));
        store::eachLargestFarm(sql, {}, 10, [this](const store::FarmUsage& usage) {
            EXPECT_EQ(usage.farm.id, kept.id);
        });
        EXPECT_EQ(store::countNearlyFull(sql, {}), 1);
        return 0;
    });
    EXPECT_NE(addFarm("Hill Farm").id, gone.id);
}

TEST_P(FarmRemoval, RemovesSomeRowsInEachStep)
{
    deleteIt();
    long long before = rowsOf(gone) + namesInAudit(gone);
    bool isLeft = true;
    while (isLeft) {
        isLeft = write([this](Transaction& t) { return store::removeSomeOf(t, gone.id); });
        const long long left = rowsOf(gone) + namesInAudit(gone);
        ASSERT_LE(before - left, 100);
        ASSERT_LT(left, before);
        before = left;
    }
    EXPECT_EQ(before, 0);
    EXPECT_THAT(read(store::deletedFarms), IsEmpty());
    EXPECT_EQ(count("audit WHERE farm_id = " + std::to_string(gone.id)), many);
}

TEST_P(FarmRemoval, EndsIfAnotherInstanceHasRemovedTheFarm)
{
    deleteIt();
    const auto removeSome = [this] {
        return write([this](Transaction& t) { return store::removeSomeOf(t, gone.id); });
    };
    while (removeSome()) {
    }
    EXPECT_FALSE(removeSome()) << "the audit trail still has entries of the farm";
    EXPECT_FALSE(write([this](Transaction& t) { return store::removeSomeOf(t, kept.id); }));
}

TEST_P(FarmRemoval, KeepsTheOtherFarms)
{
    const long long before = rowsOf(kept);
    deleteIt();
    while (write([this](Transaction& t) { return store::removeSomeOf(t, gone.id); })) {
    }
    EXPECT_EQ(rowsOf(kept), before);
    EXPECT_EQ(namesInAudit(kept), many);
    write([this](Transaction& t) { store::deleteFarm(t, kept.id, now); });
    EXPECT_THAT(read(store::deletedFarms), testing::ElementsAre(kept.id));
}

INSTANTIATE_TEST_SUITE_P(Databases, FarmRemoval, testing::ValuesIn(databaseKinds()), nameOf);

} // namespace
} // namespace kelvo::test
