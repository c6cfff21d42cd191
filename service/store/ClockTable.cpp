#include "service/store/ClockTable.h"

#include "service/store/Bind.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

ClockRecord clockRecord(soci::session& sql)
{
    ClockRecord record;
    sql << "SELECT seen_ms, trusted_ms, wait_s FROM clock", into(record.seenMs),
        into(record.trustedMs), into(record.waitS);
    return record;
}

void setClockRecord(Transaction& transaction, const ClockRecord& record)
{
    transaction.sql << "UPDATE clock SET seen_ms = :seen, trusted_ms = :trusted, wait_s = :wait",
        use(record.seenMs), use(record.trustedMs), use(record.waitS);
}

} // namespace kelvo::store
