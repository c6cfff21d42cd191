// What consoles report of themselves.
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
 * The newest report replaces the console's former one, and the session's. Documents are JSON as
 * received.
 */
void setEnvironment(Transaction& transaction, const Session& session, Id console,
                    const std::string& document, long long nowMs);

/** Of all its consoles; anybody can report any address, and the office reads them all at once. */
inline constexpr long long mostDevicesOfAFarm = 1000;

/**
 * One a console and the device's hardware address, which may be empty. Throws TooManyReported for
 * a new one.
 */
void setDevice(Transaction& transaction, Id console, const std::string& hardwareAddress,
               const std::string& document, long long nowMs);

/** Becomes the newest of the console's track, whatever its time. */
void addPosition(Transaction& transaction, Id console, Id user, const Position& position);

/** Keeps each console's newest position whatever its age. */
void prunePositions(Transaction& transaction, long long receivedBeforeMs);

} // namespace kelvo::store
