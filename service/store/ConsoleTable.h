// A farm's consoles: the console of a report, and the data kept for each console.
#pragma once

#include "service/base/Clock.h"
#include "service/store/Database.h"
#include "service/store/Records.h"
#include "service/store/ReportTable.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/**
 * Limits are needed, because any operator can report any address. The limit of a user leaves room
 * for the consoles of the others.
 */
inline constexpr long long maxConsolesOfAFarm = 1000;
inline constexpr long long maxConsolesOfAUser = 250;

/**
 * Binds the session to the console that it reports for, and returns the console. A hardware address
 * identifies the console, for all its users. Without an address the session stays at its console.
 * If the session has no console yet, its user identifies the console. Adds an unknown console. The
 * session's user becomes the console's operator. Throws TooManyReported if a new console exceeds
 * the limit, and SessionEnded: a report on another connection than the logout can come after it.
 */
Id bindConsole(Transaction& transaction, const Session& session,
               const std::string& hardwareAddress);

struct Device
{
    std::string document; // the device's last report, JSON as received
    long long receivedMs = 0;
};

struct Console
{
    Id id = 0;
    std::string hardwareAddress; // empty if the user identifies the console
    Id operatorId = 0;           // the user of the last report
    std::string operatorName;
    std::string environment; // JSON as received; empty: not reported
    long long environmentMs = 0;
    std::optional<Position> position;
    long long lastContactMs = 0; // of its reports, but fetches, and of its sessions; 0: none
};

/** A part of a farm's consoles. Without a value a filter lets every console through. */
struct ConsolePart
{
    std::optional<Id> operatorId = {};
    std::optional<Id> afterId = {};
};

/** In the order of their ids. Ends when `visit` returns false. */
void consolesOf(soci::session& sql, Id farm, const ConsolePart& part,
                const std::function<bool(const Console&)>& visit);

/** The devices of a console, in the order of their hardware addresses. */
void eachDeviceOf(soci::session& sql, Id console, const std::function<void(const Device&)>& visit);

/** Whether a session that has not expired reports for the console. */
bool hasSession(soci::session& sql, Id console, ExpiryTime now);

/**
 * Removes a console with its devices, track, fetches and the event of its last move. It gets a new
 * id if it reports again.
 */
void removeConsole(Transaction& transaction, Id farm, Id console);

/**
 * Removes the consoles whose last report is older than this time, as removeConsole(), and devices
 * without a report since then. A fetch counts as a report. Keeps a console that a session reports
 * for, and its devices.
 */
void forgetConsoles(Transaction& transaction, long long reportedBeforeMs);

bool hasConsole(soci::session& sql, Id farm, Id console);

struct TrackPoint
{
    Id number = 0; // number of the position, in the order of receipt
    Position position;
    Id operatorId = 0;
    std::string operatorName;
};

/** A part of a track. Times are times of receipt. */
struct TrackPart
{
    std::optional<long long> fromMs;
    std::optional<long long> beforeMs;
    std::optional<Id> belowNumber;
    int most = 0;
};

/** The position received last comes first. Ends when `visit` returns false. */
void trackOf(soci::session& sql, Id console, const TrackPart& part,
             const std::function<bool(const TrackPoint&)>& visit);

/** The id of the event of the console's last move, 0 if there is none. */
Id lastMoveOf(soci::session& sql, Id console);
void setLastMove(Transaction& transaction, Id console, Id event);

} // namespace kelvo::store
