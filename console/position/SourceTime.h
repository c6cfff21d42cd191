// The clock and the timers of a position source. They are injected, so that tests need not wait.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace console {

// Calls a function once after a delay. Thread: the thread that constructs it, from its event loop.
class TSourceTimer
{
public:
    virtual ~TSourceTimer() = default;
    // Restarts a running timer.
    virtual void Start(std::int64_t delayMs) = 0;
    virtual void Stop() = 0;
};

class TSourceTime
{
public:
    virtual ~TSourceTime() = default;
    // The time of a monotonic clock. From any thread.
    virtual std::int64_t NowMs() const = 0;
    virtual std::unique_ptr<TSourceTimer> MakeTimer(std::function<void()> onTimeout) = 0;
};

} // namespace console
