// The sessions of logged-in users. Only the digests of tokens are stored.
#pragma once

#include "service/base/Clock.h"
#include "service/store/Database.h"
#include "service/store/Records.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/** `address` is the address of the login. */
void addSession(Transaction& transaction, const std::string& tokenHash, Id user, long long nowMs,
                long long expiresMs, const std::string& address = {});

/** A session as its user sees it. */
struct SessionInfo
{
    std::string tokenHash;
    long long createdMs = 0;
    long long expiresMs = 0;
    long long lastSeenMs = 0;
    std::string address;
    std::string environment; // the console's report, JSON as received; empty: none

    /** The public id: the start of the token's digest, which does not tell the token. */
    std::string id() const { return tokenHash.substr(0, idLength); }
    static constexpr int idLength = 16;
};

/** In the order of their logins. */
void eachSessionOf(soci::session& sql, Id user, ExpiryTime now,
                   const std::function<void(const SessionInfo&)>& visit);

/** The token hash of the user's session with this public id. Empty if there is none. */
std::optional<std::string> sessionById(soci::session& sql, Id user, const std::string& id,
                                       ExpiryTime now);

void setLastSeen(Transaction& transaction, const std::string& tokenHash, long long nowMs);

/** Empty if the session is unknown or has expired. */
std::optional<Session> findSession(soci::session& sql, const std::string& tokenHash,
                                   ExpiryTime now);

/** Removes the oldest sessions of the user but `kept`. Returns the token hashes of the removed. */
std::vector<std::string> endOldestSessions(Transaction& transaction, Id user, long long kept);

void removeSession(Transaction& transaction, const std::string& tokenHash);

/** Removes all sessions of the user but the kept one. */
void removeSessionsOf(Transaction& transaction, Id user, const std::string& keptTokenHash = {});

/**
 * A session that began more than a day in the future, while the clock was wrong, begins now.
 * Without this it would last until that future.
 */
void removeExpiredSessions(Transaction& transaction, ExpiryTime now);

/** The number of sessions that removeExpiredSessions() would remove. */
long long countExpiredSessions(soci::session& sql, ExpiryTime now);

} // namespace kelvo::store
