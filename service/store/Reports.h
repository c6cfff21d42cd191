// What consoles report of themselves.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <string>
#include <vector>

namespace kelvo::store {

struct Position
{
    long long timeS = 0; // seconds since 1970 UTC, by the console's clock
    double latitudeDeg = 0;
    double longitudeDeg = 0;
    std::string hardwareAddress; // may be empty
    long long receivedMs = 0;
};

/** The newest report replaces the user's former one. Documents are JSON as received. */
void setEnvironment(Transaction& transaction, Id user, const std::string& document,
                    long long nowMs);

/** One a user and hardware address, which may be empty. */
void setDevice(Transaction& transaction, Id user, const std::string& hardwareAddress,
               const std::string& document, long long nowMs);

void addPosition(Transaction& transaction, Id user, const Position& position);

/** In the order of receipt. */
std::vector<Position> positionsOf(soci::session& sql, Id user);

/** Keeps each user's newest position whatever its age. */
void prunePositions(Transaction& transaction, long long receivedBeforeMs);

} // namespace kelvo::store
