// Throws away what nobody can ask for any more.
#pragma once

#include "service/api/Context.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace kelvo {

/**
 * Expired uploads and sessions, the bin after 30 days, old events and positions, contents that no
 * file refers to. Runs once when made and then every so often. Thread: its own. Ownership: the
 * context outlives it.
 */
class Janitor
{
public:
    struct Settings
    {
        int eventHours = 0; // 0: events do not grow old
        std::chrono::minutes interval{10};
    };

    Janitor(api::Context& context, const Settings& settings);
    ~Janitor();
    Janitor(const Janitor&) = delete;
    Janitor& operator=(const Janitor&) = delete;

    /** One round, on the caller's thread. Blocks. A step that fails is logged; the others go on. */
    static void cleanUp(api::Context& context, const Settings& settings);

private:
    void loop();

    api::Context& context_;
    Settings settings_;
    std::mutex mutex_; // guards stopping_
    std::condition_variable changed_;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace kelvo
