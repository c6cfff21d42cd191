// The latest time of day that the service has seen.
#pragma once

#include "service/store/Database.h"

namespace kelvo::store {

/** All values are 0 in a new database. */
struct ClockRecord
{
    long long seenMs = 0;    // the machine's time at the latest check
    long long trustedMs = 0; // the latest plausible time, plus the run time since; 0: unknown
    long long waitS = 0;     // run time until the clock is trusted again
};

ClockRecord clockRecord(soci::session& sql);
void setClockRecord(Transaction& transaction, const ClockRecord& record);

} // namespace kelvo::store
