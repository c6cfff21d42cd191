#include "service/store/SessionTable.h"

#include "service/store/Bind.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

void addSession(Transaction& transaction, const std::string& tokenHash, Id user, long long nowMs,
                long long expiresMs, const std::string& address)
{
    transaction.sql << "INSERT INTO sessions (token_hash, user_id, created_ms, expires_ms, address,"
                       " last_seen_ms) VALUES (:hash, :user, :created, :expires, :address, :seen)",
        use(tokenHash), use(user), use(nowMs), use(expiresMs), use(address), use(nowMs);
}

void eachSessionOf(soci::session& sql, Id user, ExpiryTime now,
                   const std::function<void(const SessionInfo&)>& visit)
{
    SessionInfo info;
    soci::statement query =
        (sql.prepare << "SELECT token_hash, created_ms, expires_ms, last_seen_ms, address,"
                        " environment FROM sessions WHERE user_id = :user AND expires_ms > :now"
                        " ORDER BY created_ms, token_hash",
         into(info.tokenHash), into(info.createdMs), into(info.expiresMs), into(info.lastSeenMs),
         into(info.address), into(info.environment), use(user), use(now.ms));
    query.execute();
    while (query.fetch()) {
        visit(info);
    }
}

std::optional<std::string> sessionById(soci::session& sql, Id user, const std::string& id,
                                       ExpiryTime now)
{
    std::string tokenHash;
    sql << "SELECT token_hash FROM sessions WHERE user_id = :user AND expires_ms > :now"
           " AND SUBSTR(token_hash, 1, :length) = :id",
        into(tokenHash), use(user), use(now.ms), use(SessionInfo::idLength), use(id);
    return sql.got_data() ? std::optional(tokenHash) : std::nullopt;
}

void setLastSeen(Transaction& transaction, const std::string& tokenHash, long long nowMs)
{
    transaction.sql << "UPDATE sessions SET last_seen_ms = :now WHERE token_hash = :hash",
        use(nowMs), use(tokenHash);
}

std::optional<Session> findSession(soci::session& sql, const std::string& tokenHash, ExpiryTime now)
{
    Session session;
    session.tokenHash = tokenHash;
    Farm farm;
    std::string role;
    sql << "SELECT s.expires_ms, s.last_seen_ms, u.id, u.name, u.role, COALESCE(f.id, 0), "
           "COALESCE(f.name, '')"
           " FROM sessions s JOIN users u ON u.id = s.user_id"
           " LEFT JOIN farms f ON f.id = u.farm_id"
           " WHERE s.token_hash = :hash AND s.expires_ms > :now AND u.disabled = 0"
           " AND f.deleted_ms IS NULL",
        into(session.expiresMs), into(session.lastSeenMs), into(session.user.id),
        into(session.user.name), into(role), into(farm.id), into(farm.name), use(tokenHash),
        use(now.ms);
    if (!sql.got_data()) {
        return std::nullopt;
    }
    session.user.role = roleFromText(role).value_or(ERole::Operator);
    if (farm.id != 0) {
        session.user.farm = farm;
    }
    return session;
}

std::vector<std::string> endOldestSessions(Transaction& transaction, Id user, long long kept)
{
    std::vector<std::string> ended;
    {
        std::string hash;
        soci::statement query =
            (transaction.sql.prepare << "SELECT token_hash FROM sessions WHERE user_id = :user"
                                        " ORDER BY created_ms DESC, token_hash",
             into(hash), use(user));
        query.execute();
        for (long long number = 0; query.fetch(); ++number) {
            if (number >= kept) {
                ended.push_back(hash);
            }
        }
    }
    for (const std::string& hash : ended) {
        removeSession(transaction, hash);
    }
    return ended;
}

void removeSession(Transaction& transaction, const std::string& tokenHash)
{
    transaction.sql << "DELETE FROM sessions WHERE token_hash = :hash", use(tokenHash);
    transaction.notice.tokens.insert(tokenHash);
}

void removeSessionsOf(Transaction& transaction, Id user, const std::string& keptTokenHash)
{
    transaction.sql << "DELETE FROM sessions WHERE user_id = :user AND token_hash <> :kept",
        use(user), use(keptTokenHash);
    transaction.notice.users.insert(user);
}

void removeExpiredSessions(Transaction& transaction, ExpiryTime now)
{
    static constexpr long long dayMs = 24LL * 3600 * 1000;
    transaction.sql << "DELETE FROM sessions WHERE expires_ms <= :now", use(now.ms);
    const long long future = now.ms + dayMs;
    transaction.sql << "UPDATE sessions SET expires_ms = expires_ms - created_ms + :now,"
                       " created_ms = :created, last_seen_ms = :seen WHERE created_ms > :future",
        use(now.ms), use(now.ms), use(now.ms), use(future);
}

long long countExpiredSessions(soci::session& sql, ExpiryTime now)
{
    long long count = 0;
    sql << "SELECT COUNT(*) FROM sessions WHERE expires_ms <= :now", into(count), use(now.ms);
    return count;
}

} // namespace kelvo::store
