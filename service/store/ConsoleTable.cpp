#include "service/store/ConsoleTable.h"

#include "service/store/Bind.h"
#include "service/store/Errors.h"
#include "service/store/EventTable.h"
#include "service/store/PartQuery.h"

#include <soci/soci.h>

#include <algorithm>
#include <limits>

namespace kelvo::store {

using soci::into;

namespace {

constexpr std::string_view addressPrefix = "address:";
constexpr std::string_view userPrefix = "user:";

Id consoleOfSession(soci::session& sql, const std::string& tokenHash)
{
    Id console = 0;
    sql << "SELECT COALESCE(console_id, 0) FROM sessions WHERE token_hash = :hash", into(console),
        use(tokenHash);
    if (!sql.got_data()) {
        throw SessionEnded();
    }
    return console;
}

Id addConsole(Transaction& transaction, const User& user, const std::string& identity)
{
    soci::session& sql = transaction.sql;
    const Id farm = user.farmId();
    long long known = 0;
    long long own = 0;
    sql << "SELECT COUNT(*), COALESCE(SUM(CASE WHEN user_id = :user THEN 1 ELSE 0 END), 0)"
           " FROM consoles WHERE farm_id = :farm",
        into(known), into(own), use(user.id), use(farm);
    if (known >= maxConsolesOfAFarm || own >= maxConsolesOfAUser) {
        throw TooManyReported();
    }
    Id id = 0;
    sql << "UPDATE counters SET value = value + 1 WHERE name = 'consoles' RETURNING value",
        into(id);
    if (id > largestId) {
        throw OutOfIds();
    }
    sql << "INSERT INTO consoles (id, farm_id, identity, user_id, environment, environment_ms,"
           " last_number, last_event) VALUES (:id, :farm, :identity, :user, '', 0, 0, 0)",
        use(id), use(farm), use(identity), use(user.id);
    return id;
}

Id findOrAddConsole(Transaction& transaction, const User& user, const std::string& identity)
{
    Id id = 0;
    const Id farm = user.farmId();
    transaction.sql << "SELECT id FROM consoles WHERE farm_id = :farm AND identity = :identity",
        into(id), use(farm), use(identity);
    return transaction.sql.got_data() ? id : addConsole(transaction, user, identity);
}

} // namespace

Id bindConsole(Transaction& transaction, const Session& session, const std::string& hardwareAddress)
{
    soci::session& sql = transaction.sql;
    const User& user = session.user;
    const Id before = consoleOfSession(sql, session.tokenHash);
    Id console = before;
    if (!hardwareAddress.empty()) {
        console = findOrAddConsole(transaction, user, std::string(addressPrefix) + hardwareAddress);
    } else if (before == 0) {
        console =
            findOrAddConsole(transaction, user, std::string(userPrefix) + std::to_string(user.id));
    }
    if (console != before) {
        sql << "UPDATE sessions SET console_id = :console WHERE token_hash = :hash", use(console),
            use(session.tokenHash);
    }
    sql << "UPDATE consoles SET user_id = :user WHERE id = :id AND user_id <> :same", use(user.id),
        use(console), use(user.id);
    return console;
}

void consolesOf(soci::session& sql, Id farm, const ConsolePart& part,
                const std::function<bool(const Console&)>& visit)
{
    Console console;
    std::string identity;
    Position position;
    Id number = 0;
    long long seenMs = 0;
    long long deviceMs = 0;
    PartQuery query(sql);
    query.into(console.id, identity, console.operatorId, console.operatorName, console.environment,
               console.environmentMs, number, position.timeS, position.latitudeDeg,
               position.longitudeDeg, position.receivedMs, seenMs, deviceMs);
    query.where("c.farm_id = :farm", farm);
    query.filter(part.operatorId, "c.user_id = :user");
    query.filter(part.afterId, "c.id > :after");
    query.execute("SELECT c.id, c.identity, c.user_id, u.name, c.environment,"
                  " c.environment_ms, COALESCE(t.number, 0), COALESCE(t.time_s, 0),"
                  " COALESCE(t.latitude, 0), COALESCE(t.longitude, 0), COALESCE(t.received_ms, 0),"
                  " (SELECT COALESCE(MAX(s.last_seen_ms), 0) FROM sessions s"
                  " WHERE s.console_id = c.id),"
                  " (SELECT COALESCE(MAX(d.received_ms), 0) FROM console_devices d"
                  " WHERE d.console_id = c.id)"
                  " FROM consoles c JOIN users u ON u.id = c.user_id"
                  " LEFT JOIN track t ON t.console_id = c.id AND t.number = c.last_number",
                  "c.id", 0);
    for (bool goesOn = true; goesOn && query.fetch();) {
        const bool isNamed = identity.starts_with(addressPrefix);
        console.hardwareAddress = isNamed ? identity.substr(addressPrefix.size()) : "";
        console.position = number > 0 ? std::optional(position) : std::nullopt;
        console.lastContactMs =
            std::max({console.environmentMs, position.receivedMs, seenMs, deviceMs});
        goesOn = visit(console);
    }
}

void eachDeviceOf(soci::session& sql, Id console, const std::function<void(const Device&)>& visit)
{
    Device device;
    soci::statement query =
        (sql.prepare << "SELECT document, received_ms FROM console_devices"
                        " WHERE console_id = :console ORDER BY hardware_address",
         into(device.document), into(device.receivedMs), use(console));
    query.execute();
    while (query.fetch()) {
        visit(device);
    }
}

namespace {

constexpr const char* withoutSession =
    " AND NOT EXISTS (SELECT 1 FROM sessions s WHERE s.console_id = c.id)";

std::vector<std::pair<Id, Id>> silentConsoles(soci::session& sql, long long beforeMs)
{
    std::vector<std::pair<Id, Id>> found; // farm and console
    std::pair<Id, Id> row;
    soci::statement query =
        (sql.prepare << "SELECT c.farm_id, c.id FROM consoles c WHERE c.environment_ms < :before"
                        " AND NOT EXISTS (SELECT 1 FROM track t WHERE t.console_id = c.id"
                        " AND t.number = c.last_number AND t.received_ms >= :moved)"
                        " AND NOT EXISTS (SELECT 1 FROM console_devices d"
                        " WHERE d.console_id = c.id AND d.received_ms >= :connected)"
                        " AND NOT EXISTS (SELECT 1 FROM fetches f"
                        " WHERE f.console_id = c.id AND f.fetched_ms >= :fetched)"
                     << withoutSession,
         into(row.first), into(row.second), use(beforeMs), use(beforeMs), use(beforeMs),
         use(beforeMs));
    query.execute();
    while (query.fetch()) {
        found.push_back(row);
    }
    return found;
}

} // namespace

bool hasSession(soci::session& sql, Id console, ExpiryTime now)
{
    int count = 0;
    sql << "SELECT COUNT(*) FROM sessions WHERE console_id = :console AND expires_ms > :now",
        into(count), use(console), use(now.ms);
    return count > 0;
}

void removeConsole(Transaction& transaction, Id farm, Id console)
{
    soci::session& sql = transaction.sql;
    dropEvent(transaction, farm, lastMoveOf(sql, console));
    sql << "UPDATE sessions SET console_id = NULL WHERE console_id = :id", use(console);
    for (const char* table : {"track", "console_devices"}) {
        sql << "DELETE FROM " << table << " WHERE console_id = :id", use(console);
    }
    sql << "DELETE FROM consoles WHERE id = :id", use(console);
}

void forgetConsoles(Transaction& transaction, long long reportedBeforeMs)
{
    soci::session& sql = transaction.sql;
    for (const auto& [farm, console] : silentConsoles(sql, reportedBeforeMs)) {
        removeConsole(transaction, farm, console);
    }
    sql << "DELETE FROM console_devices WHERE received_ms < :before AND console_id IN"
           " (SELECT c.id FROM consoles c WHERE c.id = console_devices.console_id"
        << withoutSession << ")",
        use(reportedBeforeMs);
}

bool hasConsole(soci::session& sql, Id farm, Id console)
{
    long long count = 0;
    sql << "SELECT COUNT(*) FROM consoles WHERE farm_id = :farm AND id = :id", into(count),
        use(farm), use(console);
    return count > 0;
}

void trackOf(soci::session& sql, Id console, const TrackPart& part,
             const std::function<bool(const TrackPoint&)>& visit)
{
    constexpr long long never = std::numeric_limits<long long>::max();
    const long long from = part.fromMs.value_or(0);
    const long long before = part.beforeMs.value_or(never);
    const Id below = part.belowNumber.value_or(never);
    TrackPoint row;
    soci::statement query =
        (sql.prepare << "SELECT t.number, t.time_s, t.latitude, t.longitude, t.received_ms,"
                        " t.user_id, u.name FROM track t JOIN users u ON u.id = t.user_id"
                        " WHERE t.console_id = :console AND t.number < :below"
                        " AND t.received_ms >= :from AND t.received_ms < :before"
                        " ORDER BY t.number DESC LIMIT :most",
         into(row.number), into(row.position.timeS), into(row.position.latitudeDeg),
         into(row.position.longitudeDeg), into(row.position.receivedMs), into(row.operatorId),
         into(row.operatorName), use(console), use(below), use(from), use(before), use(part.most));
    query.execute();
    while (query.fetch() && visit(row)) {
    }
}

Id lastMoveOf(soci::session& sql, Id console)
{
    Id event = 0;
    sql << "SELECT last_event FROM consoles WHERE id = :id", into(event), use(console);
    return event;
}

void setLastMove(Transaction& transaction, Id console, Id event)
{
    transaction.sql << "UPDATE consoles SET last_event = :event WHERE id = :id", use(event),
        use(console);
}

} // namespace kelvo::store
