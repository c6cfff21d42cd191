// The time of one line to the service: its clock, and the pauses between attempts. Injected.
#pragma once

#include "base/Clock.h"

#include <algorithm>
#include <chrono>
#include <optional>

namespace kesdk::impl {

// After this time without a byte a transfer is given up.
inline constexpr std::chrono::seconds kStallTimeout{5 * 60};

// The pause doubles from `first` to `most`. A random part, at most half of the pause, is
// subtracted. The service may ask for a longer pause, up to `longestAsked`.
struct Backoff
{
    std::chrono::milliseconds first{500};
    std::chrono::milliseconds most{30'000};
    std::chrono::milliseconds longestAsked{5 * 60'000};
};

// Thread safety: one thread at a time; Now and Wake from any.
class Timing : public Clock
{
public:
    // Blocks. False if the check ended the pause. The check runs at least four times a second.
    virtual bool Sleep(std::chrono::milliseconds duration, const AbortCheck& abort) = 0;
    // A running pause calls its abort check at once. If none runs, the next pause does.
    virtual void Wake() = 0;

    // The pause after attempt number `attempt` (from 1).
    std::chrono::milliseconds Delay(const Backoff& backoff, int attempt,
                                    const std::optional<std::chrono::seconds>& retryAfter)
    {
        std::chrono::milliseconds full = backoff.first;
        for (int i = 1; i < attempt && full < backoff.most; ++i)
            full *= 2;
        full = std::min(full, backoff.most);
        const std::chrono::milliseconds jittered(static_cast<std::chrono::milliseconds::rep>(
            static_cast<double>(full.count()) * (0.5 + 0.5 * NextJitter())));
        const std::chrono::milliseconds wanted = retryAfter.value_or(std::chrono::seconds(0));
        return std::max(std::min(wanted, backoff.longestAsked), jittered);
    }

private:
    // Evenly distributed over [0, 1). Spreads retries: consoles that lost the service together must
    // not return together.
    virtual double NextJitter() = 0;
};

} // namespace kesdk::impl
