// The reports of consoles.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <string>

namespace kelvo::store {

struct Position
{
    long long timeS = 0; // seconds since 1970 UTC, by the console's clock
    double latitudeDeg = 0;
    double longitudeDeg = 0;
    long long receivedMs = 0;
};

/**
 * Replaces the last environment of the console and of the session. Documents are JSON as received.
 */
void setEnvironment(Transaction& transaction, const Session& session, Id console,
                    const std::string& document, long long nowMs);

/** Limits on the devices of all consoles of a farm, and of all consoles of a user. */
inline constexpr long long maxDevicesOfAFarm = 1000;
inline constexpr long long maxDevicesOfAUser = 250;

/**
 * A console has one report for each hardware address of a device, which may be empty. Throws
 * TooManyReported if a new device exceeds the limit.
 */
void setDevice(Transaction& transaction, Id console, const std::string& hardwareAddress,
               const std::string& document, long long nowMs);

/** More than one in 30 s for 30 days. */
inline constexpr long long maxPositionsOfAConsole = 100000;

/**
 * Adds the position as the newest of the console's track, even if its time is older. Removes the
 * console's oldest positions above `most`.
 */
void addPosition(Transaction& transaction, Id console, Id user, const Position& position,
                 long long most = maxPositionsOfAConsole);

/** Removes old positions, except each console's newest position. */
void prunePositions(Transaction& transaction, long long receivedBeforeMs);

} // namespace kelvo::store
