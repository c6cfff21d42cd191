// Time as a position source sees it: injected, so that silences and speeds are tested without
// waiting.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace console {

// Calls once, after a time. Thread: the one that made it, from its event loop.
class TSourceTimer
{
public:
    virtual ~TSourceTimer() = default;
    // A running one begins anew.
    virtual void Start(std::int64_t delayMs) = 0;
    virtual void Stop() = 0;
};

class TSourceTime
{
public:
    virtual ~TSourceTime() = default;
    // Of a clock that does not go back. From any thread.
    virtual std::int64_t NowMs() const = 0;
    virtual std::unique_ptr<TSourceTimer> MakeTimer(std::function<void()> onTimeout) = 0;
};

} // namespace console
