#include "service/store/PersonTable.h"

#include "service/store/AuditTable.h"
#include "service/store/Bind.h"
#include "service/store/ConsoleTable.h"
#include "service/store/EventTable.h"
#include "service/store/SessionTable.h"
#include "service/store/UserTable.h"

#include <soci/soci.h>

#include <vector>

namespace kelvo::store {

using soci::into;

namespace {

/** The number of a point: console's id * 2^32 + the point's number in the console's track. */
constexpr long long pointsOfAConsole = 1LL << 32;

void run(Transaction& transaction, const char* statement, Id id)
{
    transaction.sql << statement, use(id);
}

struct Move
{
    Id farm = 0;
    Id console = 0;
    Id event = 0;
};

/**
 * The event of a console's last move holds a position of its sender. Another user may have reported
 * the console since.
 */
void dropLastMoves(Transaction& transaction, Id user)
{
    std::vector<Move> moves;
    Move move;
    soci::statement query =
        (transaction.sql.prepare
             << "SELECT c.farm_id, c.id, c.last_event FROM consoles c JOIN track t"
                " ON t.console_id = c.id AND t.number = c.last_number WHERE c.last_event <> 0"
                " AND c.farm_id = (SELECT farm_id FROM users WHERE id = :user)"
                " AND t.user_id = :sender",
         into(move.farm), into(move.console), into(move.event), use(user), use(user));
    query.execute();
    while (query.fetch()) {
        moves.push_back(move);
    }
    for (const Move& found : moves) {
        dropEvent(transaction, found.farm, found.event);
        setLastMove(transaction, found.console, 0);
    }
}

} // namespace

void removeInboxesOf(Transaction& transaction, Id user)
{
    run(transaction, "DELETE FROM inboxes WHERE owner_id = :user", user);
}

bool eraseTrack(Transaction& transaction, Id user)
{
    static constexpr int most = 1000; // the database keeps the numbers of these rows in memory
    dropLastMoves(transaction, user);
    soci::statement change =
        (transaction.sql.prepare << "DELETE FROM track WHERE (console_id, number) IN"
                                    " (SELECT console_id, number FROM track WHERE user_id = :user"
                                    " ORDER BY console_id, number LIMIT :most)",
         use(user), use(most));
    change.execute(true);
    return change.get_affected_rows() > 0;
}

void deleteUser(Transaction& transaction, const User& user, long long nowMs)
{
    soci::session& sql = transaction.sql;
    forgetInAudit(transaction, user.id);
    removeSessionsOf(transaction, user.id);
    run(transaction, "DELETE FROM login_places WHERE user_id = :user", user.id);
    run(transaction, "DELETE FROM uploads WHERE user_id = :user", user.id);
    const std::string identity = "user:" + std::to_string(user.id);
    const Id farm = user.farmId();
    sql << "UPDATE sessions SET console_id = NULL WHERE console_id IN"
           " (SELECT id FROM consoles WHERE farm_id = :farm AND identity = :identity)",
        use(farm), use(identity);
    for (const char* table : {"track", "console_devices"}) {
        sql << "DELETE FROM " << table
            << " WHERE console_id IN"
               " (SELECT id FROM consoles WHERE farm_id = :farm AND identity = :identity)",
            use(farm), use(identity);
    }
    sql << "DELETE FROM consoles WHERE farm_id = :farm AND identity = :identity", use(farm),
        use(identity);
    setUserName(transaction, user, deletedUserPrefix + std::to_string(user.id));
    sql << "UPDATE users SET password_hash = '', disabled = 1, deleted_ms = :now WHERE id = :user",
        use(nowMs), use(user.id);
}

std::vector<WorkPoint> workOf(soci::session& sql, Id user, long long afterNumber, int most)
{
    const long long console = afterNumber / pointsOfAConsole;
    const long long number = afterNumber % pointsOfAConsole;
    WorkPoint point;
    std::vector<WorkPoint> points;
    soci::statement query =
        (sql.prepare << "SELECT console_id, number, time_s, latitude, longitude, received_ms"
                        " FROM track WHERE user_id = :user AND (console_id > :after_console OR"
                        " (console_id = :console AND number > :number))"
                        " ORDER BY console_id, number LIMIT :most",
         into(point.console), into(point.number), into(point.timeS), into(point.latitudeDeg),
         into(point.longitudeDeg), into(point.receivedMs), use(user), use(console), use(console),
         use(number), use(most));
    query.execute();
    while (query.fetch()) {
        points.push_back(point);
        points.back().number += point.console * pointsOfAConsole;
    }
    return points;
}

} // namespace kelvo::store
