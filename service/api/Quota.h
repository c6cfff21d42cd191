// Refuses what a farm's quotas do not allow.
#pragma once

#include "service/api/Context.h"
#include "service/store/QuotaTable.h"

#include <map>

namespace kelvo::api {

/** The files that an upload will make. Without an owner, a file of the uploader. */
struct WantedFiles
{
    store::Id farm = 0;
    store::Id uploader = 0;
    long long lengthBytes = 0;               // of each file
    std::map<store::Id, long long> ofOwners; // the number of files for each owner of an inbox
};

/**
 * Throws Problem (quota-exceeded) if the farm, the uploader or an owner has no room for the files.
 * An upload in progress counts for its farm and for its uploader as if it were finished.
 */
void requireQuota(soci::session& sql, const store::Quotas& defaults, const WantedFiles& wanted);

/** Throws Problem (quota-exceeded) if the farm has no room for another user. */
void requireUserQuota(soci::session& sql, const store::Quotas& defaults, store::Id farm,
                      long long nowMs);

/**
 * Sets how many bytes each file of `upload` uses in the quota, for an upload without a length. The
 * number of its files is counted already. Throws as requireQuota(), and Problem (gone).
 */
void claimQuota(store::Transaction& transaction, const store::Quotas& defaults,
                const store::Upload& upload, long long bytes);

} // namespace kelvo::api
