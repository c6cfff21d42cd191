// Logins while the account is being changed.
#include "service/accounts/Accounts.h"
#include "service/http/Problem.h"
#include "service/store/SessionTable.h"
#include "tests/service/support/ApiFixture.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <functional>
#include <optional>
#include <thread>

namespace kelvo::accounts {
namespace {

/**
 * Calls `onCheck` once, when another thread reads the time. That thread checks a password: it has
 * read the account's credentials and has not made a session yet.
 */
class InterruptingClock final : public Clock
{
public:
    std::int64_t nowMs() const override { return 1700000000000; }

    std::int64_t steadyMs() const override
    {
        if (std::this_thread::get_id() != maker_ && onCheck) {
            std::exchange(onCheck, nullptr)();
        }
        return 5000;
    }

    mutable std::function<void()> onCheck;

private:
    std::thread::id maker_ = std::this_thread::get_id();
};

class Login : public test::ApiFixture
{
protected:
    Login() { setPassword("old password"); }

    void setPassword(const std::string& password)
    {
        const std::string hash = testedAccounts.passwords().hash(password);
        database.writeNow([&](store::Transaction& t) {
            store::setPassword(t, user.id, hash);
            store::removeSessionsOf(t, user.id);
        });
    }

    void setDisabled(bool disabled)
    {
        database.writeNow([&](store::Transaction& t) {
            store::setDisabled(t, user.id, disabled);
            store::removeSessionsOf(t, user.id);
        });
    }

    /** Empty if the login succeeds, else the refusal. */
    std::optional<http::EProblem> logIn(const std::string& password,
                                        const std::string& address = "10.0.0.1")
    {
        return logIn(testedAccounts, "olga", password, address);
    }

    std::optional<http::EProblem> logIn(Accounts& logins, const std::string& name,
                                        const std::string& password, const std::string& address)
    {
        try {
            loop.run(logins.login(name, password, address));
        } catch (const http::Problem& problem) {
            return problem.kind();
        }
        return std::nullopt;
    }

    int sessions()
    {
        return database.readNow([](soci::session& sql) {
            int count = 0;
            sql << "SELECT COUNT(*) FROM sessions", soci::into(count);
            return count;
        });
    }

    InterruptingClock interrupting;
    Accounts testedAccounts{
        database, interrupting, {EPasswordCost::Minimal, 5, std::chrono::hours(1)}};
};

TEST_F(Login, ItsSessionsLastContactIsStoredOnceInAQuarterOfAnHour)
{
    const auto session = [this] {
        return database.readNow([this](soci::session& sql) {
            return store::findSession(sql, "hash", clock.expiryNow()).value();
        });
    };
    const long long loginMs = clock.nowMs();
    database.writeNow([&](store::Transaction& t) {
        store::addSession(t, "hash", user.id, loginMs, loginMs + 3'600'000);
    });
    clock.Advance(std::chrono::minutes(14));
    loop.run(accounts.noteContact(session()));
    EXPECT_EQ(session().lastSeenMs, loginMs);
    clock.Advance(std::chrono::minutes(1));
    loop.run(accounts.noteContact(session()));
    EXPECT_EQ(session().lastSeenMs, clock.nowMs());
}

TEST_F(Login, MakesASession)
{
    EXPECT_EQ(logIn("old password"), std::nullopt);
    EXPECT_EQ(sessions(), 1);
}

TEST_F(Login, MakesNoSessionIfThePasswordIsReplacedMeanwhile)
{
    bool isReplaced = false;
    interrupting.onCheck = [&] {
        setPassword("new password");
        isReplaced = true;
    };
    EXPECT_EQ(logIn("old password"), http::EProblem::InvalidCredentials);
    EXPECT_TRUE(isReplaced);
    EXPECT_EQ(sessions(), 0);
    EXPECT_EQ(logIn("new password"), std::nullopt);
}

TEST_F(Login, MakesNoSessionIfTheAccountIsDisabledMeanwhile)
{
    interrupting.onCheck = [this] { setDisabled(true); };
    EXPECT_EQ(logIn("old password"), http::EProblem::AccountDisabled);
    EXPECT_EQ(sessions(), 0);
}

TEST_F(Login, StrangersDelayNoLoginFromANeighbourOfAnEarlierAddress)
{
    EXPECT_EQ(logIn("old password", "10.0.0.1"), std::nullopt);
    Accounts restarted(database, clock, {EPasswordCost::Minimal, 5, std::chrono::hours(1)});
    for (int i = 0; i < 50; ++i) {
        logIn(restarted, "guess" + std::to_string(i), "wrong", "10.0.0.9");
    }
    EXPECT_EQ(logIn(restarted, "oscar", "wrong", "10.0.0.9"), http::EProblem::LoginThrottled);
    EXPECT_EQ(logIn(restarted, "olga", "old password", "10.0.0.9"), std::nullopt);
}

TEST_F(Login, ForgetsAnAddressNinetyDaysAfterTheLastLogin)
{
    EXPECT_EQ(logIn("old password", "10.0.0.1"), std::nullopt);
    clock.ShiftTimeOfDay(std::chrono::milliseconds(interrupting.nowMs() - clock.nowMs()) +
                         std::chrono::hours(24 * 90 + 1));
    Accounts later(database, clock, {EPasswordCost::Minimal, 1, std::chrono::hours(1)});
    for (int i = 0; i < 10; ++i) {
        logIn(later, "guess" + std::to_string(i), "wrong", "10.0.0.1");
    }
    EXPECT_EQ(logIn(later, "olga", "old password", "10.0.0.1"), http::EProblem::LoginThrottled);
}

} // namespace
} // namespace kelvo::accounts
