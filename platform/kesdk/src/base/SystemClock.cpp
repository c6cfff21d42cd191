#include "base/SystemClock.h"

#include <algorithm>

namespace kesdk::impl {

namespace {

constexpr std::chrono::milliseconds kAskAbortEvery{200};

} // namespace

bool SystemSleeper::Sleep(std::chrono::milliseconds duration, const AbortCheck& abort)
{
    const auto end = std::chrono::steady_clock::now() + duration;
    for (;;) {
        if (IsAborted(abort))
            return false;
        const auto now = std::chrono::steady_clock::now();
        if (now >= end)
            return true;
        const auto slice = std::min<std::chrono::steady_clock::duration>(end - now, kAskAbortEvery);
        std::unique_lock lock(m_mutex);
        m_wake.wait_for(lock, slice, [this] { return m_woken; });
        m_woken = false;
    }
}

void SystemSleeper::Wake()
{
    {
        const std::lock_guard lock(m_mutex);
        m_woken = true;
    }
    m_wake.notify_all();
}

double SystemJitter::Next()
{
    return std::uniform_real_distribution<double>(0.0, 1.0)(m_engine);
}

} // namespace kesdk::impl
