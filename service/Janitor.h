// Throws away what nobody can ask for any more.
#pragma once

#include "service/base/Clock.h"
#include "service/content/ContentStore.h"
#include "service/content/DigestLocks.h"
#include "service/store/Database.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace kelvo {

/**
 * Expired uploads and sessions, the bin after 30 days with the contents that only it referred to,
 * old events and positions. What the database does not know, as after a crash, goes only when it
 * has been unknown for some days, and a content that is older than the database never: the database
 * may be the wrong one, and whoever puts the right one back needs its files.
 *
 * Runs once when made and then every so often. Thread: its own. Ownership: what it works on
 * outlives it.
 */
class Janitor
{
public:
    struct Settings
    {
        int eventHours = 0;              // 0: events do not grow old
        std::chrono::days unknownFor{7}; // so long what the database does not know is left alone
        std::chrono::minutes interval{10};
    };

    /** What it cleans, and what it asks. */
    struct Parts
    {
        store::Database& database;
        content::ContentStore& contents;
        content::DigestLocks& digestLocks;
        const Clock& clock;
        std::function<bool(const std::string& id)> uploadIsHeld; // by a request, at this moment
    };

    Janitor(Parts parts, const Settings& settings);
    ~Janitor();
    Janitor(const Janitor&) = delete;
    Janitor& operator=(const Janitor&) = delete;

    using Stops = std::function<bool()>;

    /** One round, on the caller's thread. Blocks, until `stops` says so. A step that fails is
     * logged; the others go on. */
    static void cleanUp(
        const Parts& parts, const Settings& settings, const Stops& stops = [] { return false; });

private:
    void loop();
    bool stops();

    Parts parts_;
    Settings settings_;
    std::mutex mutex_; // guards stopping_
    std::condition_variable changed_;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace kelvo
