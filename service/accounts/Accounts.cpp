#include "service/accounts/Accounts.h"

#include "service/accounts/SessionToken.h"
#include "service/base/Digest.h"
#include "service/base/Log.h"
#include "service/base/Random.h"
#include "service/http/Address.h"
#include "service/http/Problem.h"
#include "service/store/AuditTable.h"
#include "service/store/LoginPlaceTable.h"
#include "service/store/SessionTable.h"
#include "service/store/UserTable.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace kelvo::accounts {

using http::EProblem;
using http::Problem;

namespace {

/** At most two hashes run at a time, so their memory is bounded. */
constexpr unsigned hashThreads = 2;

/** A working day: a browser may be shared. */
constexpr std::chrono::hours browserSessionLife{12};
constexpr long long placeLifeMs = 90LL * 24 * 3600 * 1000;

constexpr long long lastSeenStepMs = 15LL * 60 * 1000;

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

/** One check of a password. */
struct Accounts::Attempt
{
    const char* action = "";
    std::string user;
    std::string address;
    std::optional<store::Credentials> known;
    EPlace place = EPlace::New;

    /** The name of an unknown user may be a mistyped password: it is not recorded. */
    store::AuditEntry entry(const char* outcome, long long nowMs) const
    {
        store::AuditEntry entry;
        entry.atMs = nowMs;
        entry.action = action;
        entry.outcome = outcome;
        entry.address = address;
        if (known) {
            entry.actor = known->user.id;
            entry.actorName = known->user.name;
            entry.farm = known->user.farmId();
            entry.isOfAdmin = known->user.role == store::ERole::Admin;
        }
        return entry;
    }
};

/** A throttled login is logged, not stored: strangers must not fill the database. */
void Accounts::refuseIfThrottled(const Attempt& attempt)
{
    const auto wait = throttle_.waitFor(attempt.user, attempt.address, attempt.place);
    if (wait.count() > 0) {
        store::logEntry(attempt.entry("throttled", clock_.nowMs()));
        throw Problem(EProblem::LoginThrottled, "Wait before you try again.",
                      {{"Retry-After", std::to_string(wait.count())}});
    }
}

/** The refusal has the same answer if it cannot be recorded. */
Async<void> Accounts::record(const Attempt& attempt, const char* outcome)
{
    auto add = [&attempt, outcome, this](store::Transaction& transaction) {
        store::addAudit(transaction, attempt.entry(outcome, clock_.nowMs()));
    };
    try {
        const store::Id farm = attempt.known ? attempt.known->user.farmId() : 0;
        co_await database_.write(store::Scope::farm(farm), add);
    } catch (const std::exception& error) {
        store::logEntry(attempt.entry(outcome, clock_.nowMs()));
        logWarning("audit-not-stored", error.what());
    }
}

Async<store::Credentials> Accounts::check(Attempt attempt, std::string password)
{
    const long long since = clock_.expiryNow().ms - placeLifeMs;
    auto find = [&attempt, since](soci::session& sql) {
        attempt.known = store::credentialsOf(sql, attempt.user);
        if (attempt.known && store::isLoginPlace(sql, attempt.known->user.id,
                                                 http::mobileNetworkOf(attempt.address), since)) {
            attempt.place = EPlace::Known;
        }
        return true;
    };
    co_await database_.read(find);
    refuseIfThrottled(attempt);
    auto verify = [this, &attempt, &password] {
        // Checked again after the wait in the queue: many guesses may have been queued at once.
        refuseIfThrottled(attempt);
        const auto& known = attempt.known;
        return passwords_.verify(password,
                                 known ? std::optional(known->passwordHash) : std::nullopt);
    };
    const bool right = co_await pool_.run(verify, std::hash<std::string>()(attempt.user));
    if (!right) {
        throttle_.failed(attempt.user, attempt.address, attempt.place);
        co_await record(attempt, "failed");
        throw Problem(EProblem::InvalidCredentials, wrongCredentials);
    }
    throttle_.succeeded(attempt.user, attempt.address);
    if (attempt.known->user.disabled) {
        co_await record(attempt, "disabled");
        throw Problem(EProblem::AccountDisabled, disabledAccount);
    }
    co_return std::move(*attempt.known);
}

Async<store::Credentials> Accounts::checkPassword(std::string user, std::string password,
                                                  std::string address, const char* action)
{
    Attempt attempt{action, std::move(user), std::move(address), std::nullopt, EPlace::New};
    co_return co_await check(std::move(attempt), std::move(password));
}

Async<Login> Accounts::login(std::string user, std::string password, std::string address,
                             ESessionKind kind)
{
    Attempt attempt{"login", std::move(user), std::move(address), std::nullopt, EPlace::New};
    attempt.known = co_await check(attempt, std::move(password));
    const store::Credentials& known = *attempt.known;
    const long long now = clock_.nowMs();
    const auto life = kind == ESessionKind::Browser
                          ? std::min(settings_.sessionLife, browserSessionLife)
                          : settings_.sessionLife;
    Login login;
    login.token = randomHex(32);
    login.session.tokenHash = sha256Hex(login.token);
    login.session.user = known.user;
    login.session.expiresMs = now + std::chrono::milliseconds(life).count();
    auto add = [this, &login, &known, &attempt, now](store::Transaction& transaction) {
        requireUnchanged(transaction.sql, known);
        const store::Session& session = login.session;
        const long long limit =
            store::quotasOf(transaction.sql, session.user.farmId(), settings_.quotas).user.sessions;
        login.ended = store::endOldestSessions(transaction, session.user.id, limit - 1);
        store::addSession(transaction, session.tokenHash, session.user.id, now, session.expiresMs,
                          attempt.address);
        store::addLoginPlace(transaction, session.user.id, http::mobileNetworkOf(attempt.address),
                             now);
        store::addAudit(transaction, attempt.entry("done", now));
    };
    co_await database_.write(store::Scope::farm(known.user.farmId()), add);
    co_return login;
}

Async<store::Session> Accounts::authenticate(http::Request& request)
{
    const std::string hash = sha256Hex(sessionToken(request));
    auto find = [this, &hash](soci::session& sql) {
        return store::findSession(sql, hash, clock_.expiryNow());
    };
    auto session = co_await database_.read(find);
    if (!session) {
        throw Problem(EProblem::Unauthenticated, "The session is unknown or has ended.");
    }
    request.session = hash;
    request.farm = session->user.farmId();
    request.user = session->user.id;
    co_await noteContact(*session);
    co_return std::move(*session);
}

Async<void> Accounts::noteContact(const store::Session& session)
{
    const long long now = clock_.nowMs();
    if (std::abs(now - session.lastSeenMs) < lastSeenStepMs ||
        clock_.steadyMs() < lastSeenPausedUntilMs_) {
        co_return;
    }
    auto set = [&session, now](store::Transaction& transaction) {
        store::setLastSeen(transaction, session.tokenHash, now);
    };
    try {
        co_await database_.write(store::Scope::farm(session.user.farmId()), set);
    } catch (const std::exception& error) {
        lastSeenPausedUntilMs_ =
            clock_.steadyMs() + lastSeenStepMs; // the next requests must not wait too
        logWarning("session-not-updated", error.what());
    }
}

Async<std::string> Accounts::hashPassword(std::string password)
{
    auto work = [this, &password] { return passwords_.hash(password); };
    co_return co_await pool_.run(work);
}

} // namespace kelvo::accounts
