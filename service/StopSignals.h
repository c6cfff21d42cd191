// The signals of the process.
#pragma once

#include <chrono>
#include <csignal>
#include <functional>

namespace kelvo {

/**
 * The signals that stop the service, and SIGHUP. They are blocked from the start on all threads: an
 * early signal waits until the service can stop gracefully.
 */
class StopSignals
{
public:
    StopSignals()
    {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGHUP);
        sigaddset(&signals_, SIGINT);
        sigaddset(&signals_, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &signals_, nullptr); // threads made later inherit it
    }

    /**
     * Calls `refresh` at an interval, and for each SIGHUP with true, until a signal stops the
     * service.
     */
    void wait(const std::function<void(bool isReload)>& refresh) const
    {
        for (;;) {
            const int which = sigtimedwait(&signals_, nullptr, &interval);
            if (stops(which)) {
                return;
            }
            refresh(which == SIGHUP);
        }
    }

    /** Waits for a signal that stops the service. Returns false after `limit`, or earlier. */
    bool comesWithin(std::chrono::milliseconds limit) const
    {
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
        const std::chrono::nanoseconds rest = limit - seconds;
        const timespec time{static_cast<time_t>(seconds.count()), static_cast<long>(rest.count())};
        return stops(sigtimedwait(&signals_, nullptr, &time));
    }

private:
    static bool stops(int signal) { return signal == SIGTERM || signal == SIGINT; }

    static constexpr timespec interval{10, 0};
    sigset_t signals_{};
};

} // namespace kelvo
