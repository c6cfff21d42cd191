// Time as the SDK sees it: injected, so that retries and deadlines are tested without waiting.
#pragma once

#include <chrono>
#include <functional>

namespace kesdk::impl {

// True as soon as what is running shall end. An empty one means never.
using AbortCheck = std::function<bool()>;

inline bool IsAborted(const AbortCheck& check)
{
    return check && check();
}

class Clock
{
public:
    using Time = std::chrono::steady_clock::time_point;

    virtual ~Clock() = default;
    virtual Time Now() const = 0;
};

// Lets a retry wait.
// Thread safety: Sleep on one thread, Wake from any.
class Sleeper
{
public:
    virtual ~Sleeper() = default;
    // False when the check ended it early. The check is asked at least four times a second.
    virtual bool Sleep(std::chrono::milliseconds duration, const AbortCheck& abort) = 0;
    // Has a running (or else the next) Sleep ask its check at once.
    virtual void Wake() = 0;
};

// Spreads retries, so that consoles that lost the service together do not return together.
class Jitter
{
public:
    virtual ~Jitter() = default;
    // Even over [0, 1).
    virtual double Next() = 0;
};

} // namespace kesdk::impl
