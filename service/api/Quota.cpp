#include "service/api/Quota.h"

#include "service/http/Problem.h"
#include "service/store/InboxTable.h"
#include "service/store/UploadTable.h"

#include <string>

namespace kelvo::api {

using http::EProblem;
using http::Problem;
using store::Limits;
using store::Usage;

namespace {

constexpr long long minuteMs = 60 * 1000;

void refuseAbove(long long used, long long added, long long limit, const std::string& detail)
{
    if (added > limit || used > limit - added) {
        throw Problem(EProblem::QuotaExceeded, detail);
    }
}

void requireFiles(const Usage& usage, const Limits& limits, long long files,
                  const std::string& whose)
{
    refuseAbove(usage.files + usage.uploadFiles, files, limits.files,
                "The quota of files of the " + whose + " is used up.");
}

void requireBytes(const Usage& usage, const Limits& limits, long long files, long long bytesOfEach,
                  const std::string& whose)
{
    // The product of the bytes could overflow.
    const bool isTooLong = files > 0 && bytesOfEach > limits.bytes / files;
    if (isTooLong || usage.bytes + usage.uploadBytes > limits.bytes - files * bytesOfEach) {
        throw Problem(EProblem::QuotaExceeded,
                      "The quota of bytes of the " + whose + " is used up.");
    }
}

/** The files of the upload count already; its bytes do not. */
void requireBytesOf(soci::session& sql, const store::Quotas& defaults, const store::Upload& upload,
                    long long bytes)
{
    const store::Quotas quotas = store::quotasOf(sql, upload.farm, defaults);
    std::map<store::Id, long long> ofOwners;
    for (const store::Id target : upload.targets) {
        if (const auto inbox = store::inboxById(sql, upload.farm, target)) {
            ++ofOwners[inbox->ownerId];
        }
    }
    if (ofOwners.empty()) {
        ofOwners[upload.user] = 1;
    }
    long long files = 0;
    for (const auto& [owner, count] : ofOwners) {
        requireBytes(store::storageOfUser(sql, upload.farm, owner), quotas.user, count, bytes,
                     "inbox's owner");
        files += count;
    }
    requireBytes(store::storageOfFarm(sql, upload.farm), quotas.farm, files, bytes, "farm");
}

} // namespace

void requireQuota(soci::session& sql, const store::Quotas& defaults, const WantedFiles& wanted)
{
    const store::Quotas quotas = store::quotasOf(sql, wanted.farm, defaults);
    const Usage farm = store::storageOfFarm(sql, wanted.farm);
    refuseAbove(farm.uploads, 1, quotas.farm.uploads, "The farm has too many uploads in progress.");
    refuseAbove(store::storageOfUser(sql, wanted.farm, wanted.uploader).uploads, 1,
                quotas.user.uploads, "The user has too many uploads in progress.");
    long long files = 0;
    for (const auto& [owner, count] : wanted.ofOwners) {
        const Usage usage = store::storageOfUser(sql, wanted.farm, owner);
        requireFiles(usage, quotas.user, count, "inbox's owner");
        requireBytes(usage, quotas.user, count, wanted.lengthBytes, "inbox's owner");
        files += count;
    }
    requireFiles(farm, quotas.farm, files, "farm");
    requireBytes(farm, quotas.farm, files, wanted.lengthBytes, "farm");
}

void holdQuota(store::Transaction& transaction, const store::Quotas& defaults,
               const store::Upload& upload, long long bytes)
{
    if (!store::holdBytes(transaction, upload.id, 0)) {
        throw Problem(EProblem::Gone, "The upload has expired.");
    }
    requireBytesOf(transaction.sql, defaults, upload, bytes);
    store::holdBytes(transaction, upload.id, bytes);
}

bool PositionRate::take(const store::Quotas& quotas, store::Id farm, store::Id user,
                        long long nowMs)
{
    const std::lock_guard lock(mutex_);
    if (nowMs / minuteMs != minute_) {
        minute_ = nowMs / minuteMs;
        counts_.clear();
    }
    long long& ofFarm = counts_[{store::EQuotaScope::Farm, farm}];
    long long& ofUser = counts_[{store::EQuotaScope::User, user}];
    if (ofFarm >= quotas.farm.positions || ofUser >= quotas.user.positions) {
        return false;
    }
    ++ofFarm;
    ++ofUser;
    return true;
}

} // namespace kelvo::api
