// What consoles report of themselves.
#include "service/store/Reports.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;
using soci::use;

void setEnvironment(Transaction& transaction, Id user, const std::string& document, long long nowMs)
{
    transaction.sql << "INSERT INTO environments (user_id, document, received_ms)"
                       " VALUES (:user, :document, :received) ON CONFLICT (user_id) DO UPDATE"
                       " SET document = excluded.document, received_ms = excluded.received_ms",
        use(user), use(document), use(nowMs);
}

void setDevice(Transaction& transaction, Id user, const std::string& hardwareAddress,
               const std::string& document, long long nowMs)
{
    transaction.sql << "INSERT INTO devices (user_id, hardware_address, document, received_ms)"
                       " VALUES (:user, :address, :document, :received)"
                       " ON CONFLICT (user_id, hardware_address) DO UPDATE"
                       " SET document = excluded.document, received_ms = excluded.received_ms",
        use(user), use(hardwareAddress), use(document), use(nowMs);
}

void addPosition(Transaction& transaction, Id user, const Position& position)
{
    Id number = 0;
    transaction.sql << "SELECT COALESCE(MAX(number), 0) + 1 FROM positions WHERE user_id = :user",
        into(number), use(user);
    transaction.sql
        << "INSERT INTO positions (user_id, number, time_s, latitude, longitude,"
           " hardware_address, received_ms)"
           " VALUES (:user, :number, :time, :latitude, :longitude, :address, :received)",
        use(user), use(number), use(position.timeS), use(position.latitudeDeg),
        use(position.longitudeDeg), use(position.hardwareAddress), use(position.receivedMs);
}

std::vector<Position> positionsOf(soci::session& sql, Id user)
{
    Position position;
    std::vector<Position> positions;
    soci::statement query =
        (sql.prepare << "SELECT time_s, latitude, longitude, hardware_address, received_ms"
                        " FROM positions WHERE user_id = :user ORDER BY number",
         into(position.timeS), into(position.latitudeDeg), into(position.longitudeDeg),
         into(position.hardwareAddress), into(position.receivedMs), use(user));
    query.execute();
    while (query.fetch()) {
        positions.push_back(position);
    }
    return positions;
}

void prunePositions(Transaction& transaction, long long receivedBeforeMs)
{
    transaction.sql << "DELETE FROM positions WHERE received_ms < :before AND number <"
                       " (SELECT MAX(p.number) FROM positions p"
                       " WHERE p.user_id = positions.user_id)",
        use(receivedBeforeMs);
}

} // namespace kelvo::store
