#include "service/store/LoginPlaceTable.h"

#include "service/store/Bind.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

bool isLoginPlace(soci::session& sql, Id user, const std::string& network, long long sinceMs)
{
    int count = 0;
    sql << "SELECT COUNT(*) FROM login_places"
           " WHERE user_id = :user AND network = :network AND last_ms >= :since",
        into(count), use(user), use(network), use(sinceMs);
    return count > 0;
}

void eachLoginPlaceOf(soci::session& sql, Id user,
                      const std::function<void(const std::string&, long long)>& visit)
{
    std::string network;
    long long lastMs = 0;
    soci::statement query =
        (sql.prepare << "SELECT network, last_ms FROM login_places WHERE user_id = :user"
                        " ORDER BY last_ms DESC, network",
         into(network), into(lastMs), use(user));
    query.execute();
    while (query.fetch()) {
        visit(network, lastMs);
    }
}

void addLoginPlace(Transaction& transaction, Id user, const std::string& network, long long nowMs)
{
    soci::session& sql = transaction.sql;
    sql << "DELETE FROM login_places WHERE user_id = :user AND network = :network", use(user),
        use(network);
    sql << "INSERT INTO login_places (user_id, network, last_ms) VALUES (:user, :network, :now)",
        use(user), use(network), use(nowMs);
    sql << "DELETE FROM login_places WHERE user_id = :user AND network NOT IN"
           " (SELECT network FROM login_places WHERE user_id = :same"
           " ORDER BY last_ms DESC, network LIMIT :most)",
        use(user), use(user), use(maxLoginPlaces);
}

void removeLoginPlacesBefore(Transaction& transaction, long long timeMs)
{
    transaction.sql << "DELETE FROM login_places WHERE last_ms < :time", use(timeMs);
}

} // namespace kelvo::store
