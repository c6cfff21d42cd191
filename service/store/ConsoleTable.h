// A farm's consoles: which one a report is of, and what is known of each.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"
#include "service/store/ReportTable.h"

#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/** Anybody can report any address, and the office reads them all at once. */
inline constexpr long long mostConsolesOfAFarm = 1000;

/**
 * The console that this session reports. One that tells its hardware address is known by that,
 * whoever drives it; from then on it is the session's. One that never told its address is known by
 * its user. It is made when it is new, and the session's user becomes its operator. Throws
 * TooManyReported for a new one.
 */
Id reportingConsole(Transaction& transaction, const Session& session,
                    const std::string& hardwareAddress);

struct Device
{
    std::string document; // the last report on it, JSON as received
    long long receivedMs = 0;
};

struct Console
{
    Id id = 0;
    std::string hardwareAddress; // empty when it is known by its user
    Id operatorId = 0;           // who reported last
    std::string operatorName;
    std::string environment; // JSON as received; empty: never reported
    long long environmentMs = 0;
    std::vector<Device> devices; // by hardware address
    std::optional<Position> position;
};

/** In the order of their ids. */
std::vector<Console> consolesOf(soci::session& sql, Id farm);

bool hasConsole(soci::session& sql, Id farm, Id console);

struct TrackPoint
{
    Id number = 0; // counts a console's positions in the order of receipt
    Position position;
    Id operatorId = 0;
    std::string operatorName;
};

/** Which part of a track. Times are those of receipt. */
struct TrackPart
{
    std::optional<long long> fromMs;
    std::optional<long long> beforeMs;
    std::optional<Id> belowNumber;
    int most = 0;
};

/** The last received first. */
std::vector<TrackPoint> trackOf(soci::session& sql, Id console, const TrackPart& part);

/** The event that tells of the console's last move, 0 when there is none. */
Id lastMoveOf(soci::session& sql, Id console);
void setLastMove(Transaction& transaction, Id console, Id event);

} // namespace kelvo::store
