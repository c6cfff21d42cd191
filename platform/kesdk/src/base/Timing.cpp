#include "base/Timing.h"

#include <algorithm>

namespace kesdk::impl {

using std::chrono::milliseconds;

milliseconds Timing::Delay(const Backoff& backoff, int attempt,
                           const std::optional<std::chrono::seconds>& retryAfter)
{
    constexpr milliseconds kLongestPause = std::chrono::minutes(5);
    milliseconds full = backoff.first;
    for (int i = 1; i < attempt && full < backoff.most; ++i)
        full *= 2;
    full = std::min(full, backoff.most);
    const milliseconds jittered(static_cast<milliseconds::rep>(static_cast<double>(full.count()) *
                                                               (0.5 + 0.5 * m_jitter.Next())));
    const milliseconds wanted = retryAfter.value_or(std::chrono::seconds(0));
    return std::max(std::min(wanted, kLongestPause), jittered);
}

} // namespace kesdk::impl
