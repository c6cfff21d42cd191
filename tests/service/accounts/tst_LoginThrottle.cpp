// The wait after failed logins: for a name, for an address, and its length.
#include "service/accounts/LoginThrottle.h"
#include "tests/service/support/ManualClock.h"

#include <gtest/gtest.h>

namespace kelvo::accounts {
namespace {

using namespace std::chrono_literals;

class Throttle : public testing::Test
{
protected:
    void fail(int times, const std::string& user, const std::string& address)
    {
        for (int i = 0; i < times; ++i) {
            throttle.failed(user, address);
        }
    }

    test::ManualClock clock;
    LoginThrottle throttle{clock, 3};
};

TEST_F(Throttle, AllowsAFewFailedLogins)
{
    fail(2, "olga", "10.0.0.1");
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 0s);
}

TEST_F(Throttle, BlocksTheNameFromTheAddressOfTheFailures)
{
    fail(3, "olga", "10.0.0.1");
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 30s);
    EXPECT_EQ(throttle.waitFor("oscar", "10.0.0.1"), 0s);
}

TEST_F(Throttle, DoesNotBlockTheNameFromAnotherAddress)
{
    fail(20, "olga", "10.0.0.1");
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 900s);
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.2"), 0s);
}

TEST_F(Throttle, BlocksANameShortlyAfterFailuresFromManyAddresses)
{
    for (int i = 0; i < 59; ++i) {
        throttle.failed("olga", "10.0.0." + std::to_string(i));
    }
    EXPECT_EQ(throttle.waitFor("olga", "10.1.1.1"), 0s);
    for (int i = 0; i < 50; ++i) {
        throttle.failed("olga", "10.0.1." + std::to_string(i));
        EXPECT_EQ(throttle.waitFor("olga", "10.1.1.1"), 30s);
    }
    EXPECT_EQ(throttle.waitFor("olga", "10.9.9.9", EPlace::Known), 0s);
    EXPECT_EQ(throttle.waitFor("oscar", "10.1.1.1"), 0s);
    clock.Advance(30s);
    EXPECT_EQ(throttle.waitFor("olga", "10.1.1.1"), 0s);
}

TEST_F(Throttle, IgnoresChangesOfTheTimeOfDay)
{
    fail(3, "olga", "10.0.0.1");
    clock.ShiftTimeOfDay(-24h * 365);
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 30s);
    clock.ShiftTimeOfDay(24h * 3650);
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 30s);
    clock.Advance(30s);
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 0s);
}

TEST_F(Throttle, CountsATooLongNameForItsAddressOnly)
{
    const std::string name(64 * 1024, 'x');
    fail(29, name, "10.0.0.1");
    EXPECT_EQ(throttle.waitFor(name, "10.0.0.1"), 0s);
    fail(1, name, "10.0.0.1");
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 30s);
}

TEST_F(Throttle, DoesNotSubtractFailuresFromOtherAddresses)
{
    for (int i = 0; i < 30; ++i) {
        throttle.failed("user" + std::to_string(i), "10.0.0.1");
        throttle.failed("mallory", "10.0.1." + std::to_string(i)); // from another address
        throttle.succeeded("mallory", "10.0.0.1");
    }
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 30s);
}

TEST_F(Throttle, EndsTheWaitAfterItsTime)
{
    fail(3, "olga", "10.0.0.1");
    clock.Advance(29500ms);
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 1s) << "not zero before the wait has ended";
    clock.Advance(500ms);
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 0s);
}

TEST_F(Throttle, DoublesTheWaitUpToAQuarterOfAnHour)
{
    fail(4, "olga", "10.0.0.1");
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 60s);
    fail(20, "olga", "10.0.0.1");
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 900s);
}

TEST_F(Throttle, ClearsFailuresAfterASuccessfulLogin)
{
    fail(2, "olga", "10.0.0.1");
    throttle.succeeded("olga", "10.0.0.1");
    fail(2, "olga", "10.0.0.1");
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 0s);
}

TEST_F(Throttle, ClearsFailuresAfterAnHour)
{
    fail(2, "olga", "10.0.0.1");
    clock.Advance(61min);
    fail(2, "olga", "10.0.0.1");
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 0s);
}

TEST_F(Throttle, BlocksAnAddressThatTriesManyNames)
{
    for (int i = 0; i < 30; ++i) {
        throttle.failed("user" + std::to_string(i), "10.0.0.1");
    }
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 30s);
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.2"), 0s);
}

TEST_F(Throttle, DoesNotBlockAnAddressWhoseUsersLogInAfterFailures)
{
    for (int user = 0; user < 40; ++user) {
        const std::string name = "user" + std::to_string(user);
        fail(2, name, "10.0.0.1");
        throttle.succeeded(name, "10.0.0.1");
    }
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 0s);
}

TEST_F(Throttle, AddressStaysBlockedWhenAnotherNameLogsIn)
{
    for (int i = 0; i < 30; ++i) {
        throttle.failed("user" + std::to_string(i), "10.0.0.1");
        throttle.succeeded("mallory", "10.0.0.1");
    }
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 30s);
}

TEST_F(Throttle, WaitOfAnAddressDoesNotGrow)
{
    for (int i = 0; i < 200; ++i) {
        throttle.failed("user" + std::to_string(i), "10.0.0.1");
    }
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 30s);
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1", EPlace::Known), 0s);
}

TEST_F(Throttle, CountsTheAddressesOfAKnownPlaceTogether)
{
    for (int i = 0; i < 100; ++i) {
        throttle.failed("olga", "2001:db8:1:" + std::to_string(i) + "::1", EPlace::Known);
    }
    EXPECT_EQ(throttle.waitFor("olga", "2001:db8:1:999::1", EPlace::Known), 30s);
    EXPECT_EQ(throttle.waitFor("olga", "2001:db8:2:999::1", EPlace::Known), 0s);
    throttle.succeeded("olga", "2001:db8:1:999::1");
    EXPECT_EQ(throttle.waitFor("olga", "2001:db8:1:7::1", EPlace::Known), 0s);
}

TEST_F(Throttle, AFewFailuresOfStrangersDelayNoLoginAtAKnownPlace)
{
    for (int i = 0; i < 59; ++i) {
        throttle.failed("olga", "10.0.0.1", EPlace::Known);
    }
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1", EPlace::Known), 0s);
    for (int i = 0; i < 50; ++i) {
        throttle.failed("olga", "10.0.0.1", EPlace::Known);
        EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1", EPlace::Known), 30s);
    }
}

TEST_F(Throttle, CountsAnIpv6NetworkAsOneAddress)
{
    for (int i = 0; i < 30; ++i) {
        throttle.failed("user" + std::to_string(i), "2001:db8:0:1::" + std::to_string(i + 1));
    }
    EXPECT_EQ(throttle.waitFor("olga", "2001:db8:0:1:ffff::1"), 30s);
    EXPECT_EQ(throttle.waitFor("olga", "2001:db8:0:2::1"), 0s);
}

TEST_F(Throttle, CountsAMappedIpv4AddressAsItsIpv4Address)
{
    for (int i = 0; i < 30; ++i) {
        throttle.failed("user" + std::to_string(i), "::ffff:10.0.0.1");
    }
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 30s);
    EXPECT_EQ(throttle.waitFor("olga", "::ffff:10.0.0.2"), 0s);
}

TEST_F(Throttle, AdmitsAUserAtEachPlaceForAQuarterOfAnHour)
{
    fail(100, "olga", "10.0.0.1");
    fail(100, "piet", "10.0.0.1");
    throttle.admit("olga");
    for (const EPlace place : {EPlace::New, EPlace::Known}) {
        for (const char* address : {"10.0.0.1", "10.9.9.9"}) {
            EXPECT_EQ(throttle.waitFor("olga", address, place), 0s);
        }
    }
    EXPECT_GT(throttle.waitFor("piet", "10.0.0.1"), 0s);
    clock.Advance(15min - 1ms);
    fail(3, "olga", "10.0.0.1");
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 0s);
    clock.Advance(1ms);
    EXPECT_GT(throttle.waitFor("olga", "10.0.0.1"), 0s);
}

TEST_F(Throttle, EndsAnAdmissionAfterAThousandFailures)
{
    throttle.admit("olga");
    fail(999, "olga", "10.0.0.1");
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 0s);
    fail(1, "olga", "10.0.0.1");
    EXPECT_GT(throttle.waitFor("olga", "10.0.0.1"), 0s);
}

TEST_F(Throttle, EndsAnAdmissionWithTheLoginOfTheUser)
{
    throttle.admit("olga");
    throttle.succeeded("piet", "10.0.0.2");
    fail(3, "olga", "10.0.0.1");
    EXPECT_EQ(throttle.waitFor("olga", "10.0.0.1"), 0s);
    throttle.succeeded("olga", "10.0.0.2");
    EXPECT_GT(throttle.waitFor("olga", "10.0.0.1"), 0s);
}

TEST_F(Throttle, KeepsTheLatestFailureWhenTheTableIsFull)
{
    for (int i = 0; i < 10500; ++i) {
        clock.Advance(1ms);
        throttle.failed("user" + std::to_string(i), "10.0.0." + std::to_string(i));
    }
    fail(3, "olga", "10.9.9.9");
    EXPECT_GT(throttle.waitFor("olga", "10.9.9.9"), 0s);
}

} // namespace
} // namespace kelvo::accounts
