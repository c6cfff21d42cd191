// Throws away what nobody can ask for any more.
#include "service/Janitor.h"

#include "service/base/Log.h"
#include "service/store/Events.h"
#include "service/store/Files.h"
#include "service/store/Reports.h"
#include "service/store/Sessions.h"
#include "service/store/Uploads.h"

#include <exception>
#include <functional>

namespace kelvo {

namespace {

constexpr long long hourMs = 3600 * 1000;
constexpr long long binLifeMs = 30 * 24 * hourMs;
constexpr long long positionLifeMs = 30 * 24 * hourMs;

void cleanDatabase(api::Context& context, int eventHours)
{
    const long long now = context.clock.nowMs();
    context.database.writeNow([now, eventHours](store::Transaction& transaction) {
        store::removeExpiredSessions(transaction, now);
        store::emptyBin(transaction, now - binLifeMs);
        store::prunePositions(transaction, now - positionLifeMs);
        store::forgetOldResults(transaction, now);
        if (eventHours > 0) {
            store::pruneEventsBefore(transaction, now - eventHours * hourMs);
        }
    });
}

void removeExpiredUploads(api::Context& context)
{
    const long long now = context.clock.nowMs();
    const auto expired = context.database.readNow(
        [now](soci::session& sql) { return store::expiredUploads(sql, now); });
    for (const std::string& id : expired) {
        // A request that works on it gives it more time when it ends. One that comes now does so
        // first, in a transaction, and then either finds no row or is seen by the condition.
        if (context.activeUploads.isHeld(id)) {
            continue;
        }
        const bool removed = context.database.writeNow([&id, now](store::Transaction& transaction) {
            return store::removeExpiredUpload(transaction, id, now);
        });
        if (removed) {
            context.contents.removeUpload(id);
        }
    }
}

/** Files without a row: a crash came between the database and the folder. */
void removeOrphanedUploads(api::Context& context)
{
    for (const std::string& id : context.contents.uploadIds()) {
        const bool known = context.database.readNow([&id](soci::session& sql) {
            const auto upload = store::uploadById(sql, id);
            return upload && !upload->finished;
        });
        if (!known) {
            context.contents.removeUpload(id);
        }
    }
}

void removeUnusedContents(api::Context& context)
{
    for (const std::string& digest : context.contents.digests()) {
        // Somebody who is about to refer to it holds its lock until the reference is committed.
        const auto lock = context.digestLocks.tryLock(digest);
        if (lock && !context.database.readNow([&digest](soci::session& sql) {
                return store::contentIsUsed(sql, digest);
            })) {
            context.contents.remove(digest);
        }
    }
}

/** A step that fails, as one that writes does on a full disk, must not keep the others from making
 * room. */
void attempt(const char* what, const std::function<void()>& step)
{
    try {
        step();
    } catch (const std::exception& error) {
        logError(what, error.what());
    }
}

} // namespace

Janitor::Janitor(api::Context& context, const Settings& settings)
    : context_(context), settings_(settings), thread_([this] { loop(); })
{}

Janitor::~Janitor()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void Janitor::cleanUp(api::Context& context, const Settings& settings)
{
    attempt("clean-up-database-failed", [&] { cleanDatabase(context, settings.eventHours); });
    attempt("clean-up-uploads-failed", [&] { removeExpiredUploads(context); });
    attempt("clean-up-orphans-failed", [&] { removeOrphanedUploads(context); });
    attempt("clean-up-contents-failed", [&] { removeUnusedContents(context); });
}

void Janitor::loop()
{
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        lock.unlock();
        cleanUp(context_, settings_);
        lock.lock();
        changed_.wait_for(lock, settings_.interval, [this] { return stopping_; });
    }
}

} // namespace kelvo
