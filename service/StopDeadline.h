// Ends a stop that takes too long.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace kelvo {

/**
 * A disk that hangs must not keep a stopping service for ever: jobs that wait for the disk cannot
 * be cancelled. Thread: driven by one thread; `expired` runs on a separate thread.
 */
class StopDeadline
{
public:
    StopDeadline() = default;

    /** Cancels the deadline. */
    ~StopDeadline();

    StopDeadline(const StopDeadline&) = delete;
    StopDeadline& operator=(const StopDeadline&) = delete;

    /** Calls `expired` once after `limit`. Call it once. */
    void start(std::chrono::milliseconds limit, std::function<void()> expired);

private:
    std::mutex mutex_; // guards isOver_
    std::condition_variable changed_;
    bool isOver_ = false;
    std::optional<std::thread> thread_;
};

} // namespace kelvo
