// Bounds the positions that consoles report.
#pragma once

#include "service/store/QuotaTable.h"

#include <map>
#include <mutex>
#include <utility>

namespace kelvo::api {

/** Counts the positions of each minute in memory. Thread safe. */
class PositionRate
{
public:
    /**
     * Counts one position. False if the farm or the user has sent as many as its quota allows in a
     * minute.
     */
    bool take(const store::Quotas& quotas, store::Id farm, store::Id user, long long nowMs);

private:
    std::mutex mutex_; // guards the members below
    long long minute_ = 0;
    std::map<std::pair<store::EQuotaScope, store::Id>, long long> counts_; // of this minute
};

} // namespace kelvo::api
