#include "service/Janitor.h"

#include "service/api/UnusedContents.h"
#include "service/api/UploadSteps.h"
#include "service/base/Log.h"
#include "service/store/AuditTable.h"
#include "service/store/ConsoleTable.h"
#include "service/store/EventTable.h"
#include "service/store/FarmRemoval.h"
#include "service/store/FileTable.h"
#include "service/store/LoginPlaceTable.h"
#include "service/store/ReportTable.h"
#include "service/store/SessionTable.h"
#include "service/store/UploadTable.h"
#include "service/store/UserTable.h"

#include <exception>
#include <utility>
#include <vector>

namespace kelvo {

namespace {

constexpr long long hourMs = 3600 * 1000;
constexpr long long binLifeMs = 30 * 24 * hourMs;
constexpr long long positionLifeMs = 30 * 24 * hourMs;
constexpr long long loginPlaceLifeMs = 90 * 24 * hourMs;

void cleanDatabase(const Janitor::Parts& parts, const Janitor::Settings& settings)
{
    const ExpiryTime now = parts.clock.expiryNow();
    parts.database.writeNow([now, &settings](store::Transaction& transaction) {
        store::removeExpiredSessions(transaction, now);
        store::removeLoginPlacesBefore(transaction, now.ms - loginPlaceLifeMs);
        store::prunePositions(transaction, now.ms - positionLifeMs);
        store::forgetConsoles(transaction, now.ms - settings.consoleDays * 24 * hourMs);
        store::forgetOldResults(transaction, now);
        store::limitUploadExpiry(transaction, now.ms + api::uploadLifeMs);
        store::limitDeletionTimes(transaction, now.ms);
        store::pruneAudit(transaction, now.ms - settings.auditDays * 24 * hourMs);
        if (settings.eventHours > 0) {
            store::pruneEventsBefore(transaction, now.ms - settings.eventHours * hourMs);
        }
    });
}

bool isUsed(const Janitor::Parts& parts, const std::string& digest)
{
    return parts.database.readNow(
        [&digest](soci::session& sql) { return store::contentIsUsed(sql, digest); });
}

void removeExpiredUploads(const Janitor::Parts& parts, const Janitor::Stops& stops)
{
    const ExpiryTime now = parts.clock.expiryNow();
    const auto expired = parts.database.readNow(
        [now](soci::session& sql) { return store::expiredUploads(sql, now); });
    for (const std::string& id : expired) {
        // A request that works on the upload extends its expiry when it ends. A request that starts
        // now first extends the expiry in a transaction. If the row is gone, the request fails.
        // Otherwise the removal sees the new expiry and does nothing.
        if (parts.uploadIsHeld(id)) {
            continue;
        }
        const bool removed = parts.database.writeNow([&id, now](store::Transaction& transaction) {
            return store::removeExpiredUpload(transaction, id, now);
        });
        if (removed) {
            parts.contents.removeUpload(id);
        }
        if (stops()) {
            return;
        }
    }
}

/**
 * Removes files that a crash left without a row in the database. The leftover of a finished upload
 * is a second name of its content. An upload without a row may belong to another database, so it is
 * kept until it would have expired there.
 */
void removeOrphanedUploads(const Janitor::Parts& parts, long long keptForMs,
                           const Janitor::Stops& stops)
{
    const long long nowMs = parts.clock.expiryNow().ms;
    for (const std::string& id : parts.folder->uploadIds()) {
        const auto upload = parts.database.readNow(
            [&id](soci::session& sql) { return store::uploadById(sql, id); });
        const auto changedMs = parts.folder->uploadChangedMs(id);
        const bool isOld = changedMs && nowMs - *changedMs >= keptForMs;
        if (upload ? upload->finished : isOld) {
            parts.contents.removeUpload(id);
        }
        if (stops()) {
            return;
        }
    }
}

/** The database that contents may belong to. */
struct DatabaseAge
{
    long long createdMs = 0; // when the database was made
    long long keptForMs = 0;
};

void markOrRemoveContent(const Janitor::Parts& parts, const std::string& digest,
                         const DatabaseAge& age)
{
    const auto lock = parts.digestLocks.tryLock(digest);
    const auto times = lock ? parts.folder->fileTimesOf(digest) : std::nullopt;
    if (!times) {
        return;
    }
    const bool used = isUsed(parts, digest);
    const bool isMarked = times->unusedSinceMs.has_value();
    if (used == isMarked) {
        parts.folder->markUnused(digest, !used); // starts or clears its time unused
    }
    const long long nowMs = parts.clock.expiryNow().ms;
    const long long unusedForMs = isMarked ? nowMs - *times->unusedSinceMs : 0;
    // A creation time in the future comes from a wrong clock and is ignored.
    const bool isOlderThanDatabase = times->writtenMs < age.createdMs && age.createdMs <= nowMs;
    if (!used && !isOlderThanDatabase && unusedForMs >= age.keptForMs) {
        parts.contents.remove(digest);
    }
}

/**
 * Runs a step and logs its failure. A step that writes fails on a full disk; the other steps must
 * still run, because they free room.
 */
void attempt(const char* what, const std::function<void()>& step)
{
    try {
        step();
    } catch (const std::exception& error) {
        logError(what, error.what());
    }
}

void emptyBin(const Janitor::Parts& parts, const Janitor::Stops& stops)
{
    const long long before = parts.clock.expiryNow().ms - binLifeMs;
    std::vector<std::string> digests;
    do {
        digests = parts.database.writeNow([before](store::Transaction& transaction) {
            return store::emptyBin(transaction, before);
        });
        attempt("clean-up-bin-failed", [&] {
            api::removeUnusedContents(parts.database, parts.contents, parts.digestLocks, digests);
        });
    } while (!digests.empty() && !stops());
}

/** Continues the removal of farms that a restart or a failure has stopped. */
void removeDeletedFarms(const Janitor::Parts& parts, const Janitor::Stops& stops)
{
    for (const store::Id farm : parts.database.readNow(store::deletedFarms)) {
        const auto removeSome = [farm](store::Transaction& transaction) {
            return store::removeSomeOf(transaction, farm);
        };
        while (!stops() && parts.database.writeNow(store::Scope::farm(farm), removeSome)) {
        }
    }
}

void removeUnknownContents(const Janitor::Parts& parts, long long keptForMs,
                           const Janitor::Stops& stops)
{
    const DatabaseAge age{parts.database.readNow(store::firstCreatedMs), keptForMs};
    for (const std::string& digest : parts.folder->digests()) {
        attempt("clean-up-content-failed", [&] { markOrRemoveContent(parts, digest, age); });
        if (stops()) {
            return;
        }
    }
}

void setHeldBack(HeldBack& heldBack, long long sessions, long long uploads, long long binnedFiles)
{
    bool hasChanged = heldBack.sessions.exchange(sessions) != sessions;
    hasChanged |= heldBack.uploads.exchange(uploads) != uploads;
    hasChanged |= heldBack.binnedFiles.exchange(binnedFiles) != binnedFiles;
    if (hasChanged && sessions + uploads + binnedFiles == 0) {
        logInfo("clean-up-continues");
    } else if (hasChanged) {
        logWarning("clean-up-held-back", std::to_string(sessions) + " sessions, " +
                                             std::to_string(uploads) + " uploads, " +
                                             std::to_string(binnedFiles) + " files in the bin");
    }
}

void countHeldBack(const Janitor::Parts& parts)
{
    const ExpiryTime now{parts.clock.nowMs()}; // as if the clock were trusted
    parts.database.readNow([&parts, now](soci::session& sql) {
        setHeldBack(parts.heldBack, store::countExpiredSessions(sql, now),
                    static_cast<long long>(store::expiredUploads(sql, now).size()),
                    store::countBinBefore(sql, now.ms - binLifeMs));
        return 0;
    });
}

} // namespace

Janitor::Janitor(Parts parts, const Settings& settings)
    : parts_(std::move(parts)), settings_(settings), thread_([this] { loop(); })
{}

Janitor::~Janitor()
{
    finish();
}

void Janitor::finish()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) {
        thread_.join();
    }
}

void Janitor::cleanUp(const Parts& parts, const Settings& settings, const Stops& stops)
{
    attempt("disk-reserve-failed", [&] { parts.reserve.makeWhole(); });
    attempt("clean-up-farms-failed", [&] { removeDeletedFarms(parts, stops); });
    bool clockIsTrusted = false;
    attempt("clean-up-clock-failed", [&] { clockIsTrusted = parts.clockIsTrusted(); });
    if (!clockIsTrusted) {
        attempt("clean-up-count-failed", [&] { countHeldBack(parts); });
        return;
    }
    setHeldBack(parts.heldBack, 0, 0, 0);
    const long long keptForMs = std::chrono::milliseconds(settings.unknownFor).count();
    attempt("clean-up-database-failed", [&] { cleanDatabase(parts, settings); });
    attempt("clean-up-uploads-failed", [&] { removeExpiredUploads(parts, stops); });
    if (parts.folder != nullptr) {
        attempt("clean-up-orphans-failed", [&] { removeOrphanedUploads(parts, keptForMs, stops); });
    }
    attempt("clean-up-bin-failed", [&] { emptyBin(parts, stops); });
    if (parts.folder != nullptr) {
        attempt("clean-up-contents-failed",
                [&] { removeUnknownContents(parts, keptForMs, stops); });
    }
    if (parts.removeUnused) {
        attempt("clean-up-objects-failed", parts.removeUnused);
    }
}

void Janitor::wake()
{
    {
        const std::lock_guard lock(mutex_);
        woken_ = true;
    }
    changed_.notify_all();
}

bool Janitor::stops()
{
    const std::lock_guard lock(mutex_);
    return stopping_;
}

void Janitor::loop()
{
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        lock.unlock();
        cleanUp(parts_, settings_, [this] { return stops(); });
        ++rounds_;
        lock.lock();
        changed_.wait_for(lock, settings_.interval, [this] { return stopping_ || woken_; });
        woken_ = false;
    }
}

} // namespace kelvo
