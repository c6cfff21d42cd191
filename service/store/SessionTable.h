// The sessions of logged-in users. Only the digests of tokens are stored.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <optional>
#include <string>

namespace kelvo::store {

void addSession(Transaction& transaction, const std::string& tokenHash, Id user, long long nowMs,
                long long expiresMs);

/** Empty if the session is unknown or has expired. */
std::optional<Session> findSession(soci::session& sql, const std::string& tokenHash,
                                   long long nowMs);

void removeSession(Transaction& transaction, const std::string& tokenHash);
void removeSessionsOf(Transaction& transaction, Id user);
void removeExpiredSessions(Transaction& transaction, long long nowMs);

/** The number of sessions that removeExpiredSessions() would remove. */
long long countExpiredSessions(soci::session& sql, long long nowMs);

} // namespace kelvo::store
