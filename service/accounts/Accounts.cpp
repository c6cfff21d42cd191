#include "service/accounts/Accounts.h"

#include "service/accounts/SessionToken.h"
#include "service/base/Digest.h"
#include "service/base/Random.h"
#include "service/http/Problem.h"
#include "service/store/SessionTable.h"
#include "service/store/UserTable.h"

namespace kelvo::accounts {

using http::EProblem;
using http::Problem;

namespace {

/** Two hashes at a time bound the memory to twice the memory of one. */
constexpr unsigned hashThreads = 2;

/** A working day: a browser may be shared. */
constexpr std::chrono::hours browserSessionLife{12};

constexpr const char* wrongCredentials = "The user name or the password is wrong.";
constexpr const char* disabledAccount = "This account has been disabled.";

/**
 * Hashing takes time. Meanwhile the password may have been replaced or the account disabled. Both
 * end the account's sessions, so the account must not get a new session.
 */
void requireUnchanged(soci::session& sql, const store::Credentials& known)
{
    const auto now = store::credentialsOf(sql, known.user.name);
    if (!now || now->user.id != known.user.id || now->passwordHash != known.passwordHash) {
        throw Problem(EProblem::InvalidCredentials, wrongCredentials);
    }
    if (now->user.disabled) {
        throw Problem(EProblem::AccountDisabled, disabledAccount);
    }
}

} // namespace

Accounts::Accounts(store::Database& database, const Clock& clock, const Settings& settings)
    : database_(database),
      clock_(clock),
      settings_(settings),
      passwords_(settings.cost),
      throttle_(clock, settings.loginAttempts),
      pool_(hashThreads)
{}

void Accounts::refuseIfThrottled(const std::string& user, const std::string& address)
{
    const auto wait = throttle_.waitFor(user, address);
    if (wait.count() > 0) {
        throw Problem(EProblem::LoginThrottled, "Wait before you try again.",
                      {{"Retry-After", std::to_string(wait.count())}});
    }
}

Async<Login> Accounts::login(std::string user, std::string password, std::string address,
                             ESessionKind kind)
{
    refuseIfThrottled(user, address);
    auto find = [&user](soci::session& sql) { return store::credentialsOf(sql, user); };
    const auto known = co_await database_.read(find);
    auto check = [this, &known, &password, &user, &address] {
        // Checked again after the wait in the queue: many guesses may have been queued at once.
        refuseIfThrottled(user, address);
        return passwords_.verify(password,
                                 known ? std::optional(known->passwordHash) : std::nullopt);
    };
    const bool right = co_await pool_.run(check);
    if (!right) {
        throttle_.failed(user, address);
        throw Problem(EProblem::InvalidCredentials, wrongCredentials);
    }
    throttle_.succeeded(user, address);
    if (known->user.disabled) {
        throw Problem(EProblem::AccountDisabled, disabledAccount);
    }
    const long long now = clock_.nowMs();
    const auto life = kind == ESessionKind::Browser
                          ? std::min(settings_.sessionLife, browserSessionLife)
                          : settings_.sessionLife;
    Login login;
    login.token = randomHex(32);
    login.session = {sha256Hex(login.token), known->user,
                     now + std::chrono::milliseconds(life).count()};
    auto add = [&login, &known, now](store::Transaction& transaction) {
        requireUnchanged(transaction.sql, *known);
        store::addSession(transaction, login.session.tokenHash, login.session.user.id, now,
                          login.session.expiresMs);
    };
    co_await database_.write(add);
    co_return login;
}

Async<store::Session> Accounts::authenticate(http::Request& request)
{
    const std::string hash = sha256Hex(sessionToken(request));
    auto find = [this, &hash](soci::session& sql) {
        return store::findSession(sql, hash, clock_.expiryNowMs());
    };
    auto session = co_await database_.read(find);
    if (!session) {
        throw Problem(EProblem::Unauthenticated, "The session is unknown or has ended.");
    }
    request.farm = session->user.farmId();
    request.user = session->user.id;
    co_return std::move(*session);
}

Async<std::string> Accounts::hashPassword(std::string password)
{
    auto work = [this, &password] { return passwords_.hash(password); };
    co_return co_await pool_.run(work);
}

} // namespace kelvo::accounts
