// The clean-up: removes expired and unreferenced data.
#pragma once

#include "service/base/Clock.h"
#include "service/base/DiskReserve.h"
#include "service/content/ContentStore.h"
#include "service/content/Contents.h"
#include "service/content/DigestLocks.h"
#include "service/store/Database.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace kelvo {

/** The data that the clean-up would have removed, if the clock were trusted. Thread safe. */
struct HeldBack
{
    std::atomic<long long> sessions{0};
    std::atomic<long long> uploads{0};
    std::atomic<long long> binnedFiles{0};
};

/**
 * Removes expired uploads and sessions, files that were in the bin for 30 days with their contents,
 * old events and positions, and consoles without contact. Files that the database does not know, as
 * after a crash, are removed after some days. A content older than the database is never removed:
 * the database may be the wrong one, and the right database needs the files.
 *
 * While the clock is not trusted, nothing is removed by its age. The clean-up counts and logs the
 * data that it would have removed.
 *
 * Each round first makes the disk reserve whole again, if the disk has room, and removes the rows
 * of deleted farms.
 *
 * Runs once at the start and then at an interval. Thread: its own. Ownership: the parts outlive
 * it.
 */
class Janitor
{
public:
    struct Settings
    {
        int eventHours = 0;              // 0: events do not expire
        std::chrono::days unknownFor{7}; // files that the database does not know are kept this long
        std::chrono::minutes interval{10};
        int auditDays = 180;
        int consoleDays = 730;
    };

    /** The parts that the clean-up uses. */
    struct Parts
    {
        store::Database& database;
        content::Contents& contents;
        content::ContentStore* folder;      // of `contents`; null: they are in an object store
        std::function<void()> removeUnused; // objects that nothing uses; may be empty
        content::DigestLocks& digestLocks;
        const Clock& clock;
        std::function<bool(const std::string& id)> uploadIsHeld; // by a request, now
        std::function<bool()> clockIsTrusted;                    // checks the clock
        HeldBack& heldBack;
        DiskReserve& reserve;
    };

    Janitor(Parts parts, const Settings& settings);
    ~Janitor(); // as finish()
    Janitor(const Janitor&) = delete;
    Janitor& operator=(const Janitor&) = delete;

    /** The number of finished rounds. Thread safe. */
    long long rounds() const { return rounds_; }

    using Stops = std::function<bool()>;

    /**
     * One round, on the caller's thread. Blocks; returns early if `stops` is true. A failed step is
     * logged, and the other steps run.
     */
    static void cleanUp(
        const Parts& parts, const Settings& settings, const Stops& stops = [] { return false; });

    /** Starts the next round now. Thread safe. */
    void wake();

    /** Ends the thread after its present step. Blocks. */
    void finish();

private:
    void loop();
    bool stops();

    Parts parts_;
    Settings settings_;
    std::mutex mutex_; // guards stopping_ and woken_
    std::condition_variable changed_;
    bool stopping_ = false;
    bool woken_ = false;
    std::atomic<long long> rounds_ = 0;
    std::thread thread_;
};

} // namespace kelvo
