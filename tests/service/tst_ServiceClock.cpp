// The service's clock after a clock jump: how long it waits, and the time that it shows meanwhile.
#include "service/ServiceClock.h"
#include "service/base/Files.h"
#include "service/store/Schema.h"
#include "tests/service/support/ManualClock.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <soci/soci.h>

namespace kelvo {
namespace {

using namespace std::chrono_literals;

class ServiceClockTest : public testing::Test
{
protected:
    void check(std::optional<std::int64_t> confirmedMs = {})
    {
        clock->check(database, confirmedMs);
    }

    /** The process starts again; the machine's steady clock may restart with the machine. */
    void restart()
    {
        clock.emplace(machine);
        check();
    }

    /** The service runs and checks every ten minutes. */
    void runFor(std::chrono::minutes time)
    {
        for (auto passed = 0min; passed < time; passed += 10min) {
            machine.Advance(10min);
            check();
        }
    }

    std::int64_t aheadOf(std::int64_t startMs) { return (clock->nowMs() - startMs) / 3600000; }

    test::TempFolder folder;
    store::Database database{store::makeSqlite((folder.Path() / "kelvo.sqlite").string())};
    test::ManualClock machine;
    std::optional<ServiceClock> clock{std::in_place, machine};
};

TEST_F(ServiceClockTest, DoesNotTrustTheClockBeforeTheFirstCheck)
{
    EXPECT_FALSE(clock->isTrusted());
    check();
    EXPECT_TRUE(clock->isTrusted()) << "in a new database";
}

TEST_F(ServiceClockTest, TrustsTheClockAfterANightSwitchedOff)
{
    check();
    machine.ShiftTimeOfDay(16h);
    restart();
    EXPECT_TRUE(clock->isTrusted());
    EXPECT_EQ(clock->jumps(), 0U);
}

TEST_F(ServiceClockTest, WaitsForADayOfRunTimeAfterAClockJumpAhead)
{
    check();
    machine.ShiftTimeOfDay(24h * 40);
    restart();
    EXPECT_EQ(clock->jumps(), 1U);
    runFor(24h - 10min);
    EXPECT_FALSE(clock->isTrusted());
    runFor(10min);
    EXPECT_TRUE(clock->isTrusted());
}

TEST_F(ServiceClockTest, CountsTheRunTimeOfAllRuns)
{
    check();
    machine.ShiftTimeOfDay(24h * 40);
    restart();
    runFor(12h);
    machine.ShiftTimeOfDay(12h); // the machine is off
    restart();
    EXPECT_FALSE(clock->isTrusted());
    runFor(12h);
    EXPECT_TRUE(clock->isTrusted());
}

TEST_F(ServiceClockTest, WaitsAfterAClockJumpWhileItRuns)
{
    check();
    runFor(1h);
    machine.ShiftTimeOfDay(25h);
    check();
    EXPECT_FALSE(clock->isTrusted());
    machine.ShiftTimeOfDay(-25h);
    check();
    EXPECT_EQ(clock->jumps(), 2U);
    runFor(24h);
    EXPECT_TRUE(clock->isTrusted());
}

TEST_F(ServiceClockTest, WaitsAfterAClockJumpBack)
{
    check();
    machine.ShiftTimeOfDay(-61min);
    restart();
    EXPECT_FALSE(clock->isTrusted());
}

TEST_F(ServiceClockTest, StartsTheDayAgainAfterAnotherClockJump)
{
    check();
    machine.ShiftTimeOfDay(24h * 40);
    restart();
    runFor(23h);
    machine.ShiftTimeOfDay(24h * 40);
    runFor(23h);
    EXPECT_FALSE(clock->isTrusted());
}

TEST_F(ServiceClockTest, TrustsTheClockAtOnceWhenAnAdministratorConfirms)
{
    check();
    machine.ShiftTimeOfDay(24h * 40);
    restart();
    machine.Advance(5min);
    check(machine.nowMs() - 60000);
    EXPECT_TRUE(clock->isTrusted());
    restart();
    EXPECT_TRUE(clock->isTrusted());
}

TEST_F(ServiceClockTest, WaitsIfTheClockHasJumpedSinceItWasConfirmed)
{
    check();
    const std::int64_t confirmed = machine.nowMs();
    machine.ShiftTimeOfDay(24h * 40);
    check(confirmed);
    EXPECT_FALSE(clock->isTrusted());
}

TEST_F(ServiceClockTest, DoesNotExpireDataEarlyWhileTheClockIsAhead)
{
    check();
    const std::int64_t start = machine.nowMs();
    machine.Advance(1h);
    machine.ShiftTimeOfDay(24h * 40);
    EXPECT_EQ(clock->expiryNow().ms - start, 3600000) << "before the check";
    check();
    machine.Advance(1h);
    EXPECT_EQ(clock->expiryNow().ms - start, 2 * 3600000);
    EXPECT_EQ(aheadOf(start), 40 * 24 + 2) << "new data has the machine's time";
    restart();
    EXPECT_EQ(clock->expiryNow().ms - start, 3600000) << "the trusted time of the latest check";
    runFor(24h);
    EXPECT_EQ(clock->expiryNow().ms, machine.nowMs());
}

TEST_F(ServiceClockTest, StaysNearTheTrustedTimeWhileTheClockIsBehind)
{
    check();
    const std::int64_t start = machine.nowMs();
    machine.Advance(3h);
    machine.ShiftTimeOfDay(-24h * 400);
    EXPECT_EQ(aheadOf(start), 2) << "before the check";
    EXPECT_EQ(clock->machineMs(), machine.nowMs());
    check();
    EXPECT_EQ(aheadOf(start), 2);
    restart();
    machine.Advance(3h);
    EXPECT_EQ(aheadOf(start), 5);
    runFor(24h);
    EXPECT_EQ(clock->nowMs(), machine.nowMs()) << "a day later the clock is believed";
}

TEST_F(ServiceClockTest, ComparesWithTheLatestTimeOfAnOlderDatabase)
{
    const test::TempFolder old;
    const auto dialect = store::makeSqlite((old.Path() / "kelvo.sqlite").string());
    {
        const auto session = dialect->connect();
        store::migrate(*session, *dialect, 3);
        *session << "INSERT INTO users VALUES (1, NULL, 'admin', 'admin', 'h', 0, :ms)",
            soci::use(static_cast<long long>(machine.nowMs()));
    }
    store::Database migrated(store::makeSqlite((old.Path() / "kelvo.sqlite").string()));
    machine.ShiftTimeOfDay(24h * 40);
    clock->check(migrated);
    EXPECT_FALSE(clock->isTrusted());
}

TEST_F(ServiceClockTest, ReadsTheConfirmationOnce)
{
    check();
    machine.ShiftTimeOfDay(24h * 40);
    EXPECT_FALSE(checkClock(*clock, database, folder.Path()));
    replaceFile(folder.Path() / confirmationName, std::to_string(machine.nowMs()), 0600);
    EXPECT_TRUE(checkClock(*clock, database, folder.Path()));
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / confirmationName));
}

TEST_F(ServiceClockTest, TrustsTheClockOnAFullDisk)
{
    check();
    database.writeNow([](store::Transaction& t) {
        t.sql
            << "CREATE TRIGGER full BEFORE UPDATE ON clock BEGIN SELECT RAISE(ABORT, 'full'); END";
    });
    machine.Advance(10min);
    EXPECT_TRUE(checkClock(*clock, database, folder.Path()));
    machine.ShiftTimeOfDay(24h * 40);
    EXPECT_FALSE(checkClock(*clock, database, folder.Path()));
}

} // namespace
} // namespace kelvo
