// Who is logged in. Tokens are kept only as their digests.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <optional>
#include <string>

namespace kelvo::store {

void addSession(Transaction& transaction, const std::string& tokenHash, Id user, long long nowMs,
                long long expiresMs);

/** Nothing for an unknown or expired session. */
std::optional<Session> findSession(soci::session& sql, const std::string& tokenHash,
                                   long long nowMs);

void removeSession(Transaction& transaction, const std::string& tokenHash);
void removeSessionsOf(Transaction& transaction, Id user);
void removeExpiredSessions(Transaction& transaction, long long nowMs);

} // namespace kelvo::store
