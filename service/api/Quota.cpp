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

void refuseAbove(long long used, long long added, long long limit, const std::string& detail)
{
    if (added > limit || used > limit - added) {
        throw Problem(EProblem::QuotaExceeded, detail);
    }
}

void requireFiles(const Usage& usage, const Limits& limits, long long files,
                  const std::string& whose)
{
    refuseAbove(usage.usedFiles(), files, limits.files,
                "The quota of files of the " + whose + " is used up.");
}

void requireBytes(const Usage& usage, const Limits& limits, long long files, long long bytesOfEach,
                  const std::string& whose)
{
    // The product of the bytes could overflow.
    const bool isTooLong = files > 0 && bytesOfEach > limits.bytes / files;
    if (isTooLong || usage.usedBytes() > limits.bytes - files * bytesOfEach) {
        throw Problem(EProblem::QuotaExceeded,
                      "The quota of bytes of the " + whose + " is used up.");
    }
}

/** Files that count already need only bytes. */
enum class EFiles : std::uint8_t { New, Counted };

void requireStorage(soci::session& sql, const store::Quotas& quotas, const WantedFiles& wanted,
                    const Usage& farm, EFiles files)
{
    auto ofOwners = wanted.ofOwners;
    if (ofOwners.empty()) {
        ofOwners[wanted.uploader] = 1; // a part has no targets
    }
    const auto require = [&](const Usage& usage, const Limits& limits, long long count,
                             const char* whose) {
        if (files == EFiles::New) {
            requireFiles(usage, limits, count, whose);
        }
        requireBytes(usage, limits, count, wanted.lengthBytes, whose);
    };
    long long sum = 0;
    for (const auto& [owner, count] : ofOwners) {
        require(store::storageOfUser(sql, wanted.farm, owner), quotas.user, count, "inbox's owner");
        sum += count;
    }
    require(farm, quotas.farm, sum, "farm");
}

WantedFiles filesOf(soci::session& sql, const store::Upload& upload, long long bytes)
{
    WantedFiles files{upload.farm, upload.user, bytes, {}};
    for (const store::Id target : upload.targets) {
        if (const auto inbox = store::inboxById(sql, upload.farm, target)) {
            ++files.ofOwners[inbox->ownerId];
        }
    }
    return files;
}

} // namespace

void requireQuota(soci::session& sql, const store::Quotas& defaults, const WantedFiles& wanted)
{
    const store::Quotas quotas = store::quotasOf(sql, wanted.farm, defaults);
    const Usage farm = store::storageOfFarm(sql, wanted.farm);
    refuseAbove(farm.uploads, 1, quotas.farm.uploads, "The farm has too many uploads in progress.");
    refuseAbove(store::storageOfUser(sql, wanted.farm, wanted.uploader).uploads, 1,
                quotas.user.uploads, "The user has too many uploads in progress.");
    requireStorage(sql, quotas, wanted, farm, EFiles::New);
}

void requireUserQuota(soci::session& sql, const store::Quotas& defaults, store::Id farm,
                      long long nowMs)
{
    refuseAbove(store::countUsers(sql, farm, nowMs), 1,
                store::quotasOf(sql, farm, defaults).farm.users,
                "The farm has too many users. A deleted user counts for 30 days.");
}

void claimQuota(store::Transaction& transaction, const store::Quotas& defaults,
                const store::Upload& upload, long long bytes)
{
    if (!store::setClaimedBytes(transaction, upload.id, 0)) {
        throw Problem(EProblem::Gone, "The upload has expired.");
    }
    requireStorage(transaction.sql, store::quotasOf(transaction.sql, upload.farm, defaults),
                   filesOf(transaction.sql, upload, bytes),
                   store::storageOfFarm(transaction.sql, upload.farm), EFiles::Counted);
    store::setClaimedBytes(transaction, upload.id, bytes);
}

} // namespace kelvo::api
