// Refuses what a farm's quotas do not allow.
#pragma once

#include "service/api/Context.h"
#include "service/store/QuotaTable.h"

#include <map>
#include <mutex>
#include <utility>

namespace kelvo::api {

/** The files that an upload will make. */
struct WantedFiles
{
    store::Id farm = 0;
    store::Id uploader = 0;
    long long lengthBytes = 0;               // of each file
    std::map<store::Id, long long> ofOwners; // the number of files for each owner of an inbox
};

/**
 * Throws Problem (quota-exceeded) if the farm, the uploader or an owner has no room for the files.
 * The uploads in progress of the farm and of the owner count as if they were finished.
 */
void requireQuota(soci::session& sql, const store::Quotas& defaults, const WantedFiles& wanted);

/**
 * Lets an upload that was started without a length hold room for this many bytes of each of its
 * files, instead of the room that it held before. Throws as requireQuota(), and Problem (gone).
 */
void holdQuota(store::Transaction& transaction, const store::Quotas& defaults,
               const store::Upload& upload, long long bytes);

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
