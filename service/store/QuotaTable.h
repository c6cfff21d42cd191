// The quotas of farms and their users, and the storage that they use.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <array>
#include <functional>
#include <optional>
#include <string>

namespace kelvo::store {

/** Limits of a farm, or of each user of a farm. */
struct Limits
{
    long long bytes = 0;     // of all files, with the bin and the uploads in progress
    long long files = 0;     // with the bin and the uploads in progress
    long long uploads = 0;   // in progress
    long long sessions = 0;  // of a user; a farm has no limit
    long long positions = 0; // in a minute
    long long users = 0;     // of a farm, with the users deleted in the last 30 days
};

struct Quotas
{
    Limits farm;
    Limits user;
};

constexpr long long gib = 1024LL * 1024 * 1024;
inline constexpr Quotas defaultQuotas{{100 * gib, 500000, 5000, 0, 6000, 1000},
                                      {50 * gib, 200000, 2000, 200, 600, 0}};

enum class EQuotaScope : std::uint8_t { Farm, User };

/** The name of each limit, as in the table and in the API. */
struct LimitName
{
    const char* name;
    long long Limits::*value;
    bool isOfFarm = true; // false: only users have the limit
    bool isOfUser = true; // false: only farms have the limit

    bool isOf(EQuotaScope scope) const { return scope == EQuotaScope::Farm ? isOfFarm : isOfUser; }
};
inline constexpr std::array limitNames{
    LimitName{"bytes", &Limits::bytes},         LimitName{"files", &Limits::files},
    LimitName{"uploads", &Limits::uploads},     LimitName{"sessions", &Limits::sessions, false},
    LimitName{"positions", &Limits::positions}, LimitName{"users", &Limits::users, true, false}};

/** The limits of the table, and the default for each limit that the table does not have. */
Quotas quotasOf(soci::session& sql, Id farm, const Quotas& defaults);

/** Without a value the default holds again. `name` is from limitNames. */
void setQuota(Transaction& transaction, Id farm, EQuotaScope scope, const std::string& name,
              std::optional<long long> value);

/**
 * The files of a farm, or in the inboxes of a user; the uploads and sessions likewise. The quota
 * counts used...().
 */
struct Usage
{
    long long bytes = 0; // of the files, with the bin
    long long files = 0; // with the bin
    long long uploads = 0;
    long long uploadBytes = 0; // that the files of the uploads in progress will have
    long long uploadFiles = 0; // that these uploads will make
    long long binBytes = 0;    // of `bytes`
    long long binFiles = 0;
    long long sessions = 0;

    long long usedBytes() const { return bytes + uploadBytes; }
    long long usedFiles() const { return files + uploadFiles; }
};

/** Files and uploads only. Costs less than the full usage. */
Usage storageOfFarm(soci::session& sql, Id farm);
Usage storageOfUser(soci::session& sql, Id farm, Id user);

Usage usageOfFarm(soci::session& sql, Id farm);
Usage usageOfUser(soci::session& sql, Id farm, Id user);

/**
 * The users of a farm, with the users deleted within the last 30 days. A deleted user's row stays,
 * so without them an office could fill the database.
 */
long long countUsers(soci::session& sql, Id farm, long long nowMs);

struct FarmUsage
{
    Farm farm;
    long long files = 0; // as Usage::usedFiles()
    long long bytes = 0; // as Usage::usedBytes()
    long long fileLimit = 0;
    long long byteLimit = 0;
};

/** The farms with most bytes first. */
void eachLargestFarm(soci::session& sql, const Limits& defaults, int most,
                     const std::function<void(const FarmUsage&)>& visit);

/** The number of farms whose files or bytes are at 90 % of their limit, or above. */
long long countNearlyFull(soci::session& sql, const Limits& defaults);

/** Counts files for their farm and the owner of their inbox; negative numbers for removed files. */
void countFiles(Transaction& transaction, Id farm, Id owner, long long files, long long bytes);

} // namespace kelvo::store
