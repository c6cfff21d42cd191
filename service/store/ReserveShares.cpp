#include "service/store/ReserveShares.h"

#include "service/store/AuditTable.h"

#include <algorithm>

namespace kelvo::store {

namespace {

constexpr long long shares = 8;
constexpr long long rowBytes = 512; // of an entry or an event without its data, with its indexes

long long bytesOf(const Event& event)
{
    return rowBytes + static_cast<long long>(event.fullData.size() + event.commonData.size());
}

} // namespace

bool ReserveShares::admit(const Transaction& change)
{
    if (reserve_.isWhole()) {
        bytes_.clear();
        return true;
    }
    const bool isOfAdmin =
        std::any_of(change.audit.begin(), change.audit.end(), [](const AuditEntry& entry) {
            return entry.isOfAdmin && shareOf(entry) == EAuditShare::Changes;
        });
    if (isOfAdmin) {
        return true;
    }
    bool isBelow = true;
    for (const AuditEntry& entry : change.audit) {
        isBelow &= add({entry.farm, static_cast<int>(shareOf(entry))}, rowBytes);
    }
    for (const Event& event : change.events) {
        isBelow &= add({event.farm, static_cast<int>(EAuditShare::Changes)}, bytesOf(event));
    }
    return isBelow;
}

bool ReserveShares::add(const Share& share, long long bytes)
{
    long long& used = bytes_[share];
    used += bytes;
    return used <= reserve_.sizeBytes() / shares;
}

} // namespace kelvo::store
