// Logging in and out, and who a request comes from.
#pragma once

#include "service/accounts/LoginThrottle.h"
#include "service/accounts/Passwords.h"
#include "service/base/Clock.h"
#include "service/http/Request.h"
#include "service/store/Database.h"

#include <chrono>
#include <string>

namespace kelvo::accounts {

struct Login
{
    std::string token; // kept nowhere: the store has its digest
    store::Session session;
};

/**
 * Thread: awaited on I/O threads; passwords are hashed on a pool of its own, so that few hashes run
 * at once. Errors: http::Problem.
 */
class Accounts
{
public:
    struct Settings
    {
        EPasswordCost cost = EPasswordCost::Interactive;
        int loginAttempts = 5;
        std::chrono::hours sessionLife{720};
    };

    Accounts(store::Database& database, const Clock& clock, const Settings& settings);

    /** Throws invalid-credentials, account-disabled or login-throttled. */
    Async<Login> login(std::string user, std::string password, std::string address);

    /** Who the request's bearer token belongs to. Throws unauthenticated. */
    Async<store::Session> authenticate(http::Request& request);

    Async<std::string> hashPassword(std::string password);

    const Passwords& passwords() const { return passwords_; }

private:
    void refuseIfThrottled(const std::string& user, const std::string& address);

    store::Database& database_;
    const Clock& clock_;
    Settings settings_;
    Passwords passwords_;
    LoginThrottle throttle_;
    WorkPool pool_;
};

} // namespace kelvo::accounts
