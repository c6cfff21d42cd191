// The console of a report, and the reports that are kept.
#include "service/store/ConsoleTable.h"
#include "service/store/Errors.h"
#include "service/store/EventTable.h"
#include "service/store/PersonTable.h"
#include "service/store/SessionTable.h"
#include "tests/service/store/StoreContract.h"
#include "tests/service/support/StoredLists.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <utility>

namespace kelvo::test {
namespace {

using store::Transaction;
using testing::ElementsAre;

class StoreConsoles : public StoreContract
{
protected:
    store::Session logIn(const store::User& user, const std::string& hash)
    {
        write([&](Transaction& t) { store::addSession(t, hash, user.id, now, now + 1000); });
        return {hash, user, now + 1000};
    }

    store::Id report(const store::Session& session, const std::string& address)
    {
        return write([&](Transaction& t) { return store::bindConsole(t, session, address); });
    }

    std::pair<std::string, long long> environmentOf(const store::Session& session)
    {
        std::pair<std::string, long long> kept;
        read([&](soci::session& sql) {
            sql << "SELECT environment, environment_ms FROM sessions WHERE token_hash = :hash",
                soci::into(kept.first), soci::into(kept.second), soci::use(session.tokenHash);
            return 0;
        });
        return kept;
    }

    std::vector<store::Console> consoles(const store::ConsolePart& part = {})
    {
        return read([&](soci::session& sql) { return consolesIn(sql, farm.id, part); });
    }

    std::vector<store::Device> devices(store::Id console)
    {
        return read([console](soci::session& sql) { return devicesIn(sql, console); });
    }

    std::vector<store::Id> track(store::Id console, store::TrackPart part)
    {
        std::vector<store::Id> numbers;
        read([&](soci::session& sql) {
            store::trackOf(sql, console, part, [&numbers](const store::TrackPoint& point) {
                numbers.push_back(point.number);
                return true;
            });
            return 0;
        });
        return numbers;
    }

    void addPositions(store::Id console, int count)
    {
        write([&](Transaction& t) {
            for (int i = 1; i <= count; ++i) {
                store::addPosition(t, console, olga.id, {500 - i, 51.5, -0.1, now + i});
            }
        });
    }

    const store::Farm farm = addFarm("Hill Farm");
    const store::User olga = addUser(farm, "olga");
    const store::User piet = addUser(farm, "piet");
};

INSTANTIATE_TEST_SUITE_P(Databases, StoreConsoles, testing::ValuesIn(databaseKinds()), nameOf);

TEST_P(StoreConsoles, AnAddressIdentifiesAConsoleForAnyUser)
{
    const store::Id console = report(logIn(olga, "a"), "00:1b");
    EXPECT_EQ(report(logIn(piet, "b"), "00:1b"), console);
    EXPECT_NE(report(logIn(piet, "c"), "00:1c"), console);
    ASSERT_EQ(consoles().size(), 2U);
    EXPECT_EQ(consoles()[0].hardwareAddress, "00:1b");
    EXPECT_EQ(consoles()[0].operatorName, "piet");
}

TEST_P(StoreConsoles, TheUserIdentifiesAConsoleWithoutAnAddress)
{
    const store::Id console = report(logIn(olga, "a"), "");
    EXPECT_EQ(report(logIn(olga, "b"), ""), console);
    EXPECT_NE(report(logIn(piet, "c"), ""), console);
    EXPECT_EQ(consoles()[0].hardwareAddress, "");
}

TEST_P(StoreConsoles, TheLastContactIsOfAReportOrOfASession)
{
    const store::Session session = logIn(olga, "a");
    const store::Id console = report(session, "00:1b");
    const auto lastContact = [this] { return consoles()[0].lastContactMs; };
    EXPECT_EQ(lastContact(), now);
    write([&](Transaction& t) { store::setLastSeen(t, session.tokenHash, now + 50); });
    EXPECT_EQ(lastContact(), now + 50);
    addPositions(console, 60);
    EXPECT_EQ(lastContact(), now + 60);
    write([&](Transaction& t) { store::setDevice(t, console, "00:11", "{}", now + 70); });
    EXPECT_EQ(lastContact(), now + 70);
    write([&](Transaction& t) { store::setLastSeen(t, session.tokenHash, now + 80); });
    EXPECT_EQ(lastContact(), now + 80);
    write([&](Transaction& t) { store::removeSession(t, session.tokenHash); });
    EXPECT_EQ(lastContact(), now + 70);
}

TEST_P(StoreConsoles, RefuseAReportAfterTheSessionsEnd)
{
    const store::Session session = logIn(olga, "a");
    report(session, "00:1b");
    write([&](Transaction& t) { store::removeSession(t, session.tokenHash); });
    EXPECT_THROW(report(session, ""), store::SessionEnded);
    EXPECT_THROW(report(session, "00:1c"), store::SessionEnded);
    EXPECT_EQ(consoles().size(), 1U);
}

TEST_P(StoreConsoles, KeepTheLastAddressOfASession)
{
    const store::Session session = logIn(olga, "a");
    const store::Id unnamed = report(session, "");
    const store::Id console = report(session, "00:1b");
    EXPECT_NE(console, unnamed);
    EXPECT_EQ(report(session, ""), console);
    EXPECT_EQ(report(logIn(olga, "b"), ""), unnamed)
        << "another session may come from another console";
}

TEST_P(StoreConsoles, OneAddressOnTwoFarmsIsTwoConsoles)
{
    const store::Farm other = addFarm("Dale Farm");
    const store::Id console = report(logIn(olga, "a"), "00:1b");
    const store::Id theirs = report(logIn(addUser(other, "otto"), "b"), "00:1b");
    EXPECT_NE(theirs, console);
    const auto knows = [this](store::Id where, store::Id which) {
        return read([=](soci::session& sql) { return store::hasConsole(sql, where, which); });
    };
    EXPECT_TRUE(knows(farm.id, console));
    EXPECT_FALSE(knows(farm.id, theirs));
    EXPECT_EQ(consoles().size(), 1U);
}

TEST_P(StoreConsoles, KeepOnlyTheLastReports)
{
    const store::Session session = logIn(olga, "a");
    const store::Id console = report(session, "00:1b");
    EXPECT_EQ(consoles()[0].environment, "");
    EXPECT_FALSE(consoles()[0].position);
    write([&](Transaction& t) {
        for (const char* document : {"{\"n\":1}", "{\"n\":2}"}) {
            store::setEnvironment(t, session, console, document, now);
            store::setDevice(t, console, "", document, now);
            store::setDevice(t, console, "00:11", document, now + 1);
        }
    });
    const store::Console kept = consoles()[0];
    EXPECT_EQ(kept.environment, "{\"n\":2}");
    EXPECT_EQ(kept.environmentMs, now);
    ASSERT_EQ(devices(console).size(), 2U);
    EXPECT_EQ(devices(console)[0].document, "{\"n\":2}");
    EXPECT_EQ(devices(console)[1].receivedMs, now + 1);
}

TEST_P(StoreConsoles, KeepTheLastEnvironmentOfEachSession)
{
    const store::Session first = logIn(olga, "a");
    const store::Session second = logIn(piet, "b");
    const store::Id console = report(first, "00:1b");
    ASSERT_EQ(report(second, "00:1b"), console);
    write([&](Transaction& t) {
        store::setEnvironment(t, first, console, "{\"n\":1}", now);
        store::setEnvironment(t, first, console, "{\"n\":2}", now + 1);
        store::setEnvironment(t, second, console, "{\"n\":3}", now + 2);
    });
    EXPECT_EQ(consoles()[0].environment, "{\"n\":3}");
    EXPECT_EQ(environmentOf(first), std::pair(std::string("{\"n\":2}"), now + 1));
    EXPECT_EQ(environmentOf(second), std::pair(std::string("{\"n\":3}"), now + 2));
    EXPECT_EQ(environmentOf(logIn(olga, "c")), std::pair(std::string(), 0LL));
}

TEST_P(StoreConsoles, LimitsTheConsolesOfAUserAndOfAFarm)
{
    const auto fill = [this](const std::string& name) {
        const store::Session session = logIn(addUser(farm, name), name);
        write([&](Transaction& t) {
            for (long long i = 0; i < store::maxConsolesOfAUser; ++i) {
                store::bindConsole(t, session, name + std::to_string(i));
            }
        });
        EXPECT_THROW(report(session, "one more"), store::TooManyReported);
        return session;
    };
    const store::Session first = fill("1");
    EXPECT_GT(report(logIn(olga, "a"), "of another user"), 0);
    fill("2");
    fill("3");
    const store::Session session = logIn(olga, "b");
    write([&](Transaction& t) { // the farm's last ones
        for (long long i = 1; i < store::maxConsolesOfAUser; ++i) {
            store::bindConsole(t, session, "b" + std::to_string(i));
        }
    });
    EXPECT_EQ(consoles().size(), static_cast<std::size_t>(store::maxConsolesOfAFarm));
    EXPECT_THROW(report(logIn(piet, "c"), "one more"), store::TooManyReported);
    EXPECT_EQ(report(first, "10"), consoles()[0].id) << "a known console is refused";
    const store::User otto = addUser(addFarm("Dale Farm"), "otto");
    EXPECT_GT(report(logIn(otto, "d"), "one more"), 0);
}

TEST_P(StoreConsoles, HaveALimitOfDevicesForAUserAndForAFarm)
{
    const auto set = [&](store::Id console, const std::string& address) {
        write([&](Transaction& t) { store::setDevice(t, console, address, "{}", now + 1); });
    };
    std::vector<store::Id> full;
    for (const char* name : {"1", "2", "3", "4"}) {
        const store::Id console = report(logIn(addUser(farm, name), name), name);
        write([&](Transaction& t) {
            for (long long i = 0; i < store::maxDevicesOfAUser; ++i) {
                store::setDevice(t, console, std::to_string(i), "{}", now);
            }
        });
        EXPECT_THROW(set(console, "one more"), store::TooManyReported);
        full.push_back(console);
    }
    EXPECT_THROW(set(report(logIn(olga, "a"), "00:1b"), "0"), store::TooManyReported)
        << "the farm is full";
    set(full[0], "0");
    EXPECT_EQ(devices(full[0])[0].receivedMs, now + 1);
    const store::User otto = addUser(addFarm("Dale Farm"), "otto");
    set(report(logIn(otto, "c"), ""), "one more");
}

TEST_P(StoreConsoles, HaveATrackInTheOrderOfReceiptWithStablePages)
{
    const store::Id console = report(logIn(olga, "a"), "");
    addPositions(console,
                 5); // each position is older by the console's clock than the position before it
    ASSERT_TRUE(consoles()[0].position);
    EXPECT_EQ(consoles()[0].position->timeS, 495);
    EXPECT_EQ(consoles()[0].position->longitudeDeg, -0.1);
    EXPECT_THAT(track(console, {{}, {}, {}, 2}), ElementsAre(5, 4));
    addPositions(console, 1);
    EXPECT_THAT(track(console, {{}, {}, 4, 2}), ElementsAre(3, 2));
    EXPECT_THAT(track(console, {now + 2, now + 4, {}, 10}), ElementsAre(3, 2));
    EXPECT_THAT(track(console, {now + 2, now + 4, 3, 10}), ElementsAre(2));
}

TEST_P(StoreConsoles, LoseTheLastMoveOnlyWhenItsSenderIsErased)
{
    const store::Id console = report(logIn(olga, "a"), "cab");
    addPositions(console, 1); // of olga
    write([&](Transaction& t) {
        store::addEvent(t, {farm.id, 0, "console-moved", 0, "", "", now});
        store::setLastMove(t, console, t.events.back().id);
    });
    ASSERT_EQ(report(logIn(piet, "b"), "cab"), console);
    const auto eventsAfterErasing = [this](const store::User& user) {
        write([&](Transaction& t) { store::eraseTrack(t, user.id); });
        return read(
            [this](soci::session& sql) { return store::eventsAfter(sql, farm.id, 0, 10).size(); });
    };
    EXPECT_EQ(eventsAfterErasing(piet), 1U);
    EXPECT_EQ(eventsAfterErasing(olga), 0U);
}

TEST_P(StoreConsoles, KeepALimitedNumberOfPositions)
{
    const store::Id console = report(logIn(olga, "a"), "");
    const store::Id other = report(logIn(piet, "b"), "");
    addPositions(other, 3);
    addPositions(console, 3);
    write([&](Transaction& t) { store::addPosition(t, console, olga.id, {1, 50, 8, now}, 2); });
    EXPECT_THAT(track(console, {{}, {}, {}, 10}), ElementsAre(4, 3));
    EXPECT_THAT(track(other, {{}, {}, {}, 10}), ElementsAre(3, 2, 1));
}

TEST_P(StoreConsoles, KeepTheirNewestPositionWhenOldOnesArePruned)
{
    const store::Id console = report(logIn(olga, "a"), "");
    const store::Id silent = report(logIn(piet, "b"), "");
    addPositions(console, 3);
    addPositions(silent, 2);
    write([](Transaction& t) { store::prunePositions(t, now + 3); });
    EXPECT_THAT(track(console, {{}, {}, {}, 10}), ElementsAre(3));
    EXPECT_THAT(track(silent, {{}, {}, {}, 10}), ElementsAre(2));
    addPositions(console, 1);
    EXPECT_THAT(track(console, {{}, {}, {}, 10}), ElementsAre(4, 3));
}

TEST_P(StoreConsoles, AreForgottenWithoutAReportUnlessASessionReportsForThem)
{
    const store::Session first = logIn(olga, "a");
    const store::Session second = logIn(olga, "b");
    const store::Id silent = report(first, "silent");
    const store::Id inUse = report(second, "in use");
    addPositions(silent, 3); // the last one at now + 3
    write([&](Transaction& t) {
        for (const store::Id console : {silent, inUse}) {
            store::setDevice(t, console, "00:11", "{}", now);
        }
    });
    const auto forget = [this](long long before) {
        write([before](Transaction& t) { store::forgetConsoles(t, before); });
    };
    forget(now + 100);
    EXPECT_EQ(consoles().size(), 2U) << "both have a session";
    write([](Transaction& t) { store::removeSession(t, "a"); });
    forget(now + 3);
    EXPECT_EQ(consoles().size(), 2U) << "the last position is not older";
    forget(now + 4);
    ASSERT_EQ(consoles().size(), 1U);
    EXPECT_EQ(consoles()[0].id, inUse);
    EXPECT_EQ(devices(inUse).size(), 1U);
    EXPECT_THAT(track(silent, {{}, {}, {}, 10}), ElementsAre());
}

TEST_P(StoreConsoles, AreRemovedWithTheirReportsUntilTheyReportAgain)
{
    const store::Id console = report(logIn(olga, "a"), "00:1b");
    const store::Id other = report(logIn(olga, "b"), "00:1c");
    for (const store::Id each : {console, other}) {
        addPositions(each, 3);
        write([each](Transaction& t) { store::setDevice(t, each, "00:11", "{}", now); });
    }
    const auto isInUse = [this](store::Id which) {
        return read([which](soci::session& sql) { return store::hasSession(sql, which, {now}); });
    };
    EXPECT_TRUE(isInUse(console));
    write([](Transaction& t) { store::removeSession(t, "a"); });
    EXPECT_FALSE(isInUse(console));
    EXPECT_TRUE(isInUse(other));
    write([this, console](Transaction& t) { store::removeConsole(t, farm.id, console); });
    ASSERT_EQ(consoles().size(), 1U);
    EXPECT_EQ(consoles()[0].id, other);
    EXPECT_EQ(track(other, {{}, {}, {}, 10}).size(), 3U);
    EXPECT_EQ(devices(other).size(), 1U);
    const store::Id again = report(logIn(olga, "c"), "00:1b");
    EXPECT_NE(again, console);
    for (const store::Id each : {console, again}) {
        EXPECT_THAT(track(each, {{}, {}, {}, 10}), ElementsAre());
        EXPECT_TRUE(devices(each).empty());
    }
}

TEST_P(StoreConsoles, AreRemovedWithASessionThatHasExpired)
{
    const store::Session session = logIn(olga, "a"); // expires at now + 1000
    const store::Id console = report(session, "00:1b");
    const auto isInUse = [&](long long when) {
        return read([=](soci::session& sql) { return store::hasSession(sql, console, {when}); });
    };
    EXPECT_TRUE(isInUse(now + 999));
    EXPECT_FALSE(isInUse(now + 1000));
    write([this, console](Transaction& t) { store::removeConsole(t, farm.id, console); });
    EXPECT_TRUE(consoles().empty());
    EXPECT_NE(report(session, ""), console) << "the clock was set back";
}

} // namespace
} // namespace kelvo::test
