#include "service/store/ReportTable.h"

#include "service/store/Bind.h"
#include "service/store/Errors.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

void setEnvironment(Transaction& transaction, const Session& session, Id console,
                    const std::string& document, long long nowMs)
{
    transaction.sql << "UPDATE consoles SET environment = :document, environment_ms = :received"
                       " WHERE id = :id",
        use(document), use(nowMs), use(console);
    transaction.sql << "UPDATE sessions SET environment = :document, environment_ms = :received"
                       " WHERE token_hash = :hash",
        use(document), use(nowMs), use(session.tokenHash);
}

namespace {

bool hasDevice(soci::session& sql, Id console, const std::string& hardwareAddress)
{
    long long count = 0;
    sql << "SELECT COUNT(*) FROM console_devices WHERE console_id = :console"
           " AND hardware_address = :address",
        into(count), use(console), use(hardwareAddress);
    return count > 0;
}

bool mayAddDevice(soci::session& sql, Id console)
{
    long long known = 0;
    long long own = 0;
    sql << "SELECT COUNT(*), COALESCE(SUM(CASE WHEN c.user_id = me.user_id THEN 1 ELSE 0 END), 0)"
           " FROM consoles me JOIN consoles c ON c.farm_id = me.farm_id"
           " JOIN console_devices d ON d.console_id = c.id WHERE me.id = :console",
        into(known), into(own), use(console);
    return known < maxDevicesOfAFarm && own < maxDevicesOfAUser;
}

} // namespace

void setDevice(Transaction& transaction, Id console, const std::string& hardwareAddress,
               const std::string& document, long long nowMs)
{
    if (!hasDevice(transaction.sql, console, hardwareAddress) &&
        !mayAddDevice(transaction.sql, console)) {
        throw TooManyReported();
    }
    transaction.sql
        << "INSERT INTO console_devices (console_id, hardware_address, document, received_ms)"
           " VALUES (:console, :address, :document, :received)"
           " ON CONFLICT (console_id, hardware_address) DO UPDATE"
           " SET document = excluded.document, received_ms = excluded.received_ms",
        use(console), use(hardwareAddress), use(document), use(nowMs);
}

void addPosition(Transaction& transaction, Id console, Id user, const Position& position,
                 long long most)
{
    soci::session& sql = transaction.sql;
    Id number = 0;
    sql << "UPDATE consoles SET last_number = last_number + 1 WHERE id = :id RETURNING last_number",
        into(number), use(console);
    sql << "INSERT INTO track (console_id, number, user_id, time_s, latitude, longitude,"
           " received_ms)"
           " VALUES (:console, :number, :user, :time, :latitude, :longitude, :received)",
        use(console), use(number), use(user), use(position.timeS), use(position.latitudeDeg),
        use(position.longitudeDeg), use(position.receivedMs);
    const Id upTo = number - most;
    sql << "DELETE FROM track WHERE console_id = :console AND number <= :upTo", use(console),
        use(upTo);
}

void prunePositions(Transaction& transaction, long long receivedBeforeMs)
{
    transaction.sql << "DELETE FROM track WHERE received_ms < :before AND number <"
                       " (SELECT c.last_number FROM consoles c WHERE c.id = track.console_id)",
        use(receivedBeforeMs);
}

} // namespace kelvo::store
