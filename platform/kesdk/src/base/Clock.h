// Time, injected, so that tests of retries and deadlines do not wait.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace kesdk::impl {

// Returns true when the running operation must end. An empty check never does.
using AbortCheck = std::function<bool()>;

inline bool IsAborted(const AbortCheck& check)
{
    return check && check();
}

inline constexpr std::int64_t kDayS = 24 * 60 * 60;

class Clock
{
public:
    using Time = std::chrono::steady_clock::time_point;

    virtual ~Clock() = default;
    virtual Time Now() const = 0;
};

// Waits between two attempts.
// Thread safety: Sleep on one thread, Wake from any.
class Sleeper
{
public:
    virtual ~Sleeper() = default;
    // Blocks. False if the check ended the pause. The check runs at least four times a second.
    virtual bool Sleep(std::chrono::milliseconds duration, const AbortCheck& abort) = 0;
    // A running (or else the next) Sleep asks its check at once.
    virtual void Wake() = 0;
};

// Spreads retries: consoles that lost the service together must not return together.
class Jitter
{
public:
    virtual ~Jitter() = default;
    // Evenly distributed over [0, 1).
    virtual double Next() = 0;
};

} // namespace kesdk::impl
