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
    std::optional<http::EProblem> logIn(const std::string& password)
    {
        try {
            loop.run(testedAccounts.login("olga", password, "10.0.0.1"));
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

} // namespace
} // namespace kelvo::accounts
