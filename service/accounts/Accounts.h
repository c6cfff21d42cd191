// Logins, logouts and the authentication of requests.
#pragma once

#include "service/accounts/LoginThrottle.h"
#include "service/accounts/Passwords.h"
#include "service/base/Clock.h"
#include "service/http/Request.h"
#include "service/store/Database.h"
#include "service/store/QuotaTable.h"
#include "service/store/UserTable.h"

#include <atomic>
#include <chrono>
#include <string>

namespace kelvo::accounts {

enum class ESessionKind : std::uint8_t { Console, Browser };

struct Login
{
    std::string token; // not stored: the store holds its digest
    store::Session session;
    std::vector<std::string> ended; // token hashes of the user's oldest sessions beyond the quota
};

/**
 * Thread: awaited on I/O threads. Passwords are hashed on a separate pool, which bounds how many
 * hashes run at once. Errors: http::Problem.
 */
class Accounts
{
public:
    struct Settings
    {
        EPasswordCost cost = EPasswordCost::Interactive;
        int loginAttempts = 5;
        std::chrono::hours sessionLife{720};
        store::Quotas quotas = store::defaultQuotas;
    };

    Accounts(store::Database& database, const Clock& clock, const Settings& settings);

    /** Throws invalid-credentials, account-disabled or login-throttled. */
    Async<Login> login(std::string user, std::string password, std::string address,
                       ESessionKind kind = ESessionKind::Console);

    /**
     * Checks a password as a login does, with its waits. Throws like login(). `action` is the name
     * of a refusal in the audit trail.
     */
    Async<store::Credentials> checkPassword(std::string user, std::string password,
                                            std::string address, const char* action);

    /** Finds the session of the request's token. Throws like sessionToken(). */
    Async<store::Session> authenticate(http::Request& request);

    /**
     * Stores the time of the session's last contact, at most once in a quarter of an hour. Only
     * lists need this time, so nothing fails without it.
     */
    Async<void> noteContact(const store::Session& session);

    /** As LoginThrottle::admit(). Holds for this instance of the service. */
    void admit(const std::string& user) { throttle_.admit(user); }

    Async<std::string> hashPassword(std::string password);

    const Passwords& passwords() const { return passwords_; }

    /** Waits for the hashes that run or are queued. Drops later ones. Blocks. */
    void finish() { pool_.stop(); }

private:
    struct Attempt;

    void refuseIfThrottled(const Attempt& attempt);
    Async<void> record(const Attempt& attempt, const char* outcome);
    Async<store::Credentials> check(Attempt attempt, std::string password);

    std::atomic<std::int64_t> lastSeenPausedUntilMs_{0}; // by the clock that never jumps
    store::Database& database_;
    const Clock& clock_;
    Settings settings_;
    Passwords passwords_;
    LoginThrottle throttle_;
    WorkPool pool_;
};

} // namespace kelvo::accounts
