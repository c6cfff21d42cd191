// The audit trail: who changed what, when, and from which address.
#pragma once

#include "service/store/Database.h"
#include "service/store/Records.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/**
 * Entries that share a limit. Each farm has its own Changes and its own FailedLogins. The
 * administrators, who have no farm, also have their own. So a noisy farm removes its own entries
 * only, and a stranger who tries passwords removes no entry of a change.
 */
enum class EAuditShare : std::uint8_t { Changes, FailedLogins, UnknownNames };

EAuditShare shareOf(const AuditEntry& entry);

/** The largest number of entries of each share. A new entry replaces the oldest of its share. */
struct AuditLimits
{
    long long changes = 100000;
    long long failedLogins = 10000;
    long long unknownNames = 100000;

    long long of(EAuditShare share) const;
};

/**
 * Appends an entry. The trail gets it before the commit, so queries of the same change do not find
 * it. The log gets it after the commit.
 */
void addAudit(Transaction& transaction, AuditEntry entry, const AuditLimits& limits = {});

/** Gives the entries the next ids and adds them to the trail. For addAudit(). */
void storeEntries(soci::session& sql, std::vector<AuditEntry> entries);

/** Writes the entry to the log. addAudit() does so after the commit. */
void logEntry(const AuditEntry& entry);

/** A part of the trail. Without a value a filter lets every entry through. */
struct AuditPart
{
    std::optional<Id> farm = {};
    std::optional<Id> actor = {};
    std::optional<Id> person = {}; // as the actor, or as the object of what others did
    std::optional<std::string> action = {};
    std::optional<long long> fromMs = {};
    std::optional<long long> beforeMs = {};
    std::optional<Id> belowId = {};
    int most = 0;
};

/** The newest entry comes first. Ends when `visit` returns false. */
void auditOf(soci::session& sql, const AuditPart& part,
             const std::function<bool(const AuditEntry&)>& visit);

/** Removes the entries that are older than this time. */
void pruneAudit(Transaction& transaction, long long beforeMs);

/** Removes the name and the addresses of a user from all entries. The id stays. */
void forgetInAudit(Transaction& transaction, Id user);

} // namespace kelvo::store
