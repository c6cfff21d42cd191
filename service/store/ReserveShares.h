// The parts of the disk reserve that farms may use.
#pragma once

#include "service/base/DiskReserve.h"
#include "service/store/Database.h"

#include <map>
#include <utility>

namespace kelvo::store {

/**
 * While the database uses the disk reserve, the changes of each farm may add an eighth of the
 * reserve. So one farm cannot use up the reserve of the others. Failed logins count apart from the
 * other changes of the farm; failed logins with unknown names have an eighth together. Changes of
 * administrators have no limit, but their failed logins do. When the reserve is whole again, all
 * counts start at 0.
 *
 * A change counts as the size of its events and its entries in the audit trail. Thread: the
 * writer's.
 */
class ReserveShares
{
public:
    explicit ReserveShares(const DiskReserve& reserve) : reserve_(reserve) {}

    /**
     * Counts the change. False if a share is used up; then the change must be rolled back. If the
     * database runs a change again, the change counts twice.
     */
    bool admit(const Transaction& change);

private:
    using Share = std::pair<Id, int>; // farm and EAuditShare

    bool add(const Share& share, long long bytes);

    const DiskReserve& reserve_;
    std::map<Share, long long> bytes_;
};

} // namespace kelvo::store
