// The time of one line to the service: its clock, and the pauses between attempts.
#pragma once

#include "base/Clock.h"

#include <algorithm>
#include <chrono>
#include <optional>

namespace kesdk::impl {

// After this time without a byte a transfer is given up.
inline constexpr std::chrono::seconds kStallTimeout{5 * 60};

// The pause doubles from `first` to `most`. Chance takes up to half of it. The service may ask for
// a longer one, up to `longestAsked`.
struct Backoff
{
    std::chrono::milliseconds first{500};
    std::chrono::milliseconds most{30'000};
    std::chrono::milliseconds longestAsked{5 * 60'000};
};

// Thread safety: one thread at a time; Wake from any.
class Timing
{
public:
    // All are the caller's and outlive this object.
    Timing(Clock& clock, Sleeper& sleeper, Jitter& jitter)
        : m_clock(clock), m_sleeper(sleeper), m_jitter(jitter)
    {}

    Clock::Time Now() const { return m_clock.Now(); }

    // The pause after attempt number `attempt` (from 1).
    std::chrono::milliseconds Delay(const Backoff& backoff, int attempt,
                                    const std::optional<std::chrono::seconds>& retryAfter)
    {
        std::chrono::milliseconds full = backoff.first;
        for (int i = 1; i < attempt && full < backoff.most; ++i)
            full *= 2;
        full = std::min(full, backoff.most);
        const std::chrono::milliseconds jittered(static_cast<std::chrono::milliseconds::rep>(
            static_cast<double>(full.count()) * (0.5 + 0.5 * m_jitter.Next())));
        const std::chrono::milliseconds wanted = retryAfter.value_or(std::chrono::seconds(0));
        return std::max(std::min(wanted, backoff.longestAsked), jittered);
    }
    // Both block, and return false when the check ended the pause.
    bool Sleep(std::chrono::milliseconds duration, const AbortCheck& abort)
    {
        return m_sleeper.Sleep(duration, abort);
    }
    bool Pause(const Backoff& backoff, int attempt,
               const std::optional<std::chrono::seconds>& retryAfter, const AbortCheck& abort)
    {
        return Sleep(Delay(backoff, attempt, retryAfter), abort);
    }

    // A running pause (or else the next) asks its check at once.
    void Wake() { m_sleeper.Wake(); }

private:
    Clock& m_clock;
    Sleeper& m_sleeper;
    Jitter& m_jitter;
};

} // namespace kesdk::impl
