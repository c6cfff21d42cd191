// Farms, users and sessions.
#include "service/store/Errors.h"
#include "service/store/LoginPlaceTable.h"
#include "service/store/SessionTable.h"
#include "tests/service/store/StoreContract.h"
#include "tests/service/support/StoredLists.h"

#include <gmock/gmock.h>

namespace kelvo::test {
namespace {

using store::Transaction;

TEST_P(StoreContract, GivesEveryFarmItsSevenProjectsInOrder)
{
    const store::Farm farm = addFarm("Hill Farm");
    const auto projects =
        read([&farm](soci::session& sql) { return store::projectsOf(sql, farm.id); });
    ASSERT_EQ(projects.size(), store::projectNames.size());
    for (std::size_t i = 0; i < projects.size(); ++i) {
        EXPECT_EQ(projects[i].name, store::projectNames[i]);
        EXPECT_EQ(projects[i].id, static_cast<store::Id>(i + 1));
    }
}

TEST_P(StoreContract, NumbersTheResourcesOfEachFarmSeparately)
{
    const store::Farm first = addFarm("Hill Farm");
    const store::Farm second = addFarm("Dale Farm");
    EXPECT_NE(first.id, second.id);
    const auto project = read(
        [&second](soci::session& sql) { return store::projectByName(sql, second.id, "Curves"); });
    ASSERT_TRUE(project);
    EXPECT_EQ(project->id, 4);
    EXPECT_FALSE(read(
        [&second](soci::session& sql) { return store::projectByName(sql, second.id, "curves"); }));
}

template <class F>
std::string textOfNotUnique(F change)
{
    try {
        change();
    } catch (const store::NotUnique& error) {
        return error.what();
    } catch (const std::exception&) {
        return "another error";
    }
    return "no error";
}

TEST_P(StoreContract, RefusesATakenNameOfAFarmOrUser)
{
    const store::Farm farm = addFarm("Hill Farm");
    EXPECT_EQ(textOfNotUnique([this] { addFarm("Hill Farm"); }), "Another farm has this name.");
    const store::Farm other = addFarm("Dale Farm");
    addUser(farm, "olga");
    EXPECT_EQ(textOfNotUnique([&] { addUser(other, "olga"); }), "Another user has this name.");
}

TEST_P(StoreContract, DoesNotBlameTheCallerForADuplicateOfTheService)
{
    const store::Id id = addFarm("Hill Farm").id;
    auto addAgain = [id](store::Transaction& transaction) {
        transaction.sql << "INSERT INTO farms (id, name, last_resource, last_event, pruned_event)"
                           " VALUES (:id, 'Dale Farm', 0, 0, 0)",
            soci::use(id);
    };
    EXPECT_EQ(textOfNotUnique([&] { database->writeNow(addAgain); }), "another error");
}

TEST_P(StoreContract, ReturnsUsersAsTheyWereAdded)
{
    const store::Farm farm = addFarm("Hill Farm");
    addUser(std::nullopt, "admin", store::ERole::Admin);
    const store::User olga = addUser(farm, "olga");
    addUser(addFarm("Dale Farm"), "oscar", store::ERole::Office);

    const auto found = read([](soci::session& sql) { return store::credentialsOf(sql, "olga"); });
    ASSERT_TRUE(found);
    EXPECT_EQ(found->passwordHash, "hash of olga");
    EXPECT_EQ(found->user.id, olga.id);
    EXPECT_EQ(found->user.role, store::ERole::Operator);
    ASSERT_TRUE(found->user.farm);
    EXPECT_EQ(found->user.farm->name, "Hill Farm");

    const auto users = [this](const store::UserPart& part) {
        return read([&part](soci::session& sql) { return usersIn(sql, part); });
    };
    const auto ofFarm = users({.farm = farm.id});
    ASSERT_EQ(ofFarm.size(), 1U);
    EXPECT_EQ(ofFarm.front().name, "olga");
    const auto all = users({});
    ASSERT_EQ(all.size(), 3U);
    EXPECT_FALSE(all.front().farm); // the administrator
    EXPECT_EQ(users({.most = 2}).back().id, olga.id);
    EXPECT_EQ(users({.role = store::ERole::Operator, .disabled = false}).at(0).id, olga.id);
    EXPECT_EQ(users({.name = "oscar", .afterId = olga.id}).size(), 1U);
    EXPECT_TRUE(users({.disabled = true}).empty());
}

TEST_P(StoreContract, ChangesUsers)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    write([&user](Transaction& t) {
        store::setDisabled(t, user.id, true);
        store::setPassword(t, user.id, "new hash");
    });
    const auto found = read([](soci::session& sql) { return store::credentialsOf(sql, "olga"); });
    EXPECT_TRUE(found->user.disabled);
    EXPECT_EQ(found->passwordHash, "new hash");
}

TEST_P(StoreContract, CountsEnabledAdministrators)
{
    const auto count = [this] {
        return read([](soci::session& sql) { return store::countEnabledAdmins(sql); });
    };
    EXPECT_EQ(count(), 0);
    const store::User admin = addUser(std::nullopt, "admin", store::ERole::Admin);
    EXPECT_EQ(count(), 1);
    write([&admin](Transaction& t) { store::setDisabled(t, admin.id, true); });
    EXPECT_EQ(count(), 0);
}

class StoredSession
{
public:
    StoredSession(store::Database& database, std::string hash)
        : database_(database), hash_(std::move(hash))
    {}

    std::optional<store::Session> find(long long nowMs) const
    {
        return database_.readNow(
            [this, nowMs](soci::session& sql) { return store::findSession(sql, hash_, {nowMs}); });
    }

private:
    store::Database& database_;
    std::string hash_;
};

TEST_P(StoreContract, FindsASessionUntilItExpires)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    write([&user](Transaction& t) { store::addSession(t, "abc", user.id, now, now + 100); });
    const StoredSession session(*database, "abc");
    ASSERT_TRUE(session.find(now + 99));
    EXPECT_EQ(session.find(now)->user.name, "olga");
    EXPECT_EQ(session.find(now)->user.farmId(), user.farmId());
    EXPECT_EQ(session.find(now)->expiresMs, now + 100);
    EXPECT_FALSE(session.find(now + 100));
    EXPECT_FALSE(StoredSession(*database, "other").find(now));
}

TEST_P(StoreContract, ASessionFromAWrongClockLastsNoLongerThanOthers)
{
    constexpr long long day = 24LL * 3600 * 1000;
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    write([&user](Transaction& t) {
        store::addSession(t, "abc", user.id, now + 1000 * day, now + 1000 * day + 100);
        store::addSession(t, "def", user.id, now + day, now + day + 100);
        store::removeExpiredSessions(t, {now});
    });
    EXPECT_EQ(StoredSession(*database, "abc").find(now)->expiresMs, now + 100);
    EXPECT_EQ(StoredSession(*database, "def").find(now)->expiresMs, now + day + 100);
}

TEST_P(StoreContract, RemovesOneSessionOrAllSessionsOfAUser)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    const store::User other = addUser(std::nullopt, "admin", store::ERole::Admin);
    write([&](Transaction& t) {
        store::addSession(t, "one", user.id, now, now + 100);
        store::addSession(t, "two", user.id, now, now + 100);
        store::addSession(t, "three", user.id, now, now + 100);
        store::addSession(t, "others", other.id, now, now + 100);
        store::removeSession(t, "one");
    });
    EXPECT_FALSE(StoredSession(*database, "one").find(now));
    EXPECT_TRUE(StoredSession(*database, "two").find(now));
    write([&user](Transaction& t) { store::removeSessionsOf(t, user.id); });
    EXPECT_FALSE(StoredSession(*database, "two").find(now));
    EXPECT_TRUE(StoredSession(*database, "others").find(now));
}

TEST_P(StoreContract, FindsNoSessionOfADisabledUser)
{
    const store::User user = addUser(addFarm("Hill Farm"), "olga");
    write([&user](Transaction& t) {
        store::addSession(t, "abc", user.id, now, now + 100);
        store::setDisabled(t, user.id, true);
    });
    EXPECT_FALSE(StoredSession(*database, "abc").find(now));
}

TEST_P(StoreContract, KeepsTheNewestPlacesOfEachUser)
{
    const store::Farm farm = addFarm("Hill Farm");
    const store::User olga = addUser(farm, "olga");
    const store::User piet = addUser(farm, "piet");
    const auto isPlace = [this](const store::User& user, int place, long long sinceMs) {
        const std::string network = "10.0." + std::to_string(place) + ".0";
        return read([&](soci::session& sql) {
            return store::isLoginPlace(sql, user.id, network, sinceMs);
        });
    };
    write([&](Transaction& t) {
        store::addLoginPlace(t, piet.id, "10.0.0.0", 1000);
        for (int place = 0; place <= store::maxLoginPlaces; ++place) {
            store::addLoginPlace(t, olga.id, "10.0." + std::to_string(place) + ".0", 1000 + place);
        }
    });
    EXPECT_FALSE(isPlace(olga, 0, 0)) << "the oldest gives way";
    EXPECT_TRUE(isPlace(olga, 1, 1001));
    EXPECT_FALSE(isPlace(olga, 1, 1002));
    EXPECT_TRUE(isPlace(piet, 0, 1000));
    write([&](Transaction& t) {
        store::addLoginPlace(t, olga.id, "10.0.1.0", 2000);
        store::removeLoginPlacesBefore(t, 1003);
    });
    EXPECT_TRUE(isPlace(olga, 1, 2000)) << "a login renews its place";
    EXPECT_FALSE(isPlace(olga, 2, 0));
    EXPECT_TRUE(isPlace(olga, 3, 0));
}

} // namespace
} // namespace kelvo::test
