// The time of day, behind an interface so that tests can set it.
#pragma once

#include <chrono>
#include <cstdint>

namespace kelvo {

/**
 * The time by which data expires. The functions that remove, refuse or hide sessions and uploads by
 * their age take this type, so the machine's time does not pass for it by mistake.
 */
struct ExpiryTime
{
    long long ms = 0; // since 1970-01-01 UTC

    bool hasReached(long long expiresMs) const { return ms >= expiresMs; }
};

/** Thread safe. */
class Clock
{
public:
    virtual ~Clock() = default;

    /** Milliseconds since 1970-01-01 UTC. Jumps if the machine's clock is set. */
    virtual std::int64_t nowMs() const = 0;

    /** The machine's clock as it is, also while it is implausible. May be before nowMs(). */
    virtual std::int64_t machineMs() const { return nowMs(); }

    /** Earlier than nowMs() while the machine's clock is implausibly far ahead. */
    virtual ExpiryTime expiryNow() const { return {nowMs()}; }

    /** Milliseconds since an arbitrary moment; never jumps. */
    virtual std::int64_t steadyMs() const = 0;
};

/** The machine's clock. */
class SystemClock final : public Clock
{
public:
    std::int64_t nowMs() const override
    {
        using namespace std::chrono;
        return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    }

    std::int64_t steadyMs() const override
    {
        using namespace std::chrono;
        return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
    }
};

} // namespace kelvo
