#include "base/SystemClock.h"

#include <time.h>

#include <algorithm>

namespace kesdk::impl {

namespace {

constexpr std::chrono::milliseconds kAskAbortEvery{200};

std::chrono::milliseconds TimeOf(clockid_t clock)
{
    timespec now{};
    ::clock_gettime(clock, &now);
    return std::chrono::seconds(now.tv_sec) + std::chrono::duration_cast<std::chrono::milliseconds>(
                                                  std::chrono::nanoseconds(now.tv_nsec));
}

} // namespace

std::chrono::milliseconds TimeAsleep()
{
    return TimeOf(CLOCK_BOOTTIME) - TimeOf(CLOCK_MONOTONIC);
}

bool SystemTiming::Sleep(std::chrono::milliseconds duration, const AbortCheck& abort)
{
    const Time end = Now() + duration;
    for (;;) {
        if (IsAborted(abort))
            return false;
        const Time now = Now();
        if (now >= end)
            return true;
        const auto slice = std::min<Time::duration>(end - now, kAskAbortEvery);
        std::unique_lock lock(m_mutex);
        m_wake.wait_for(lock, slice, [this] { return m_woken; });
        m_woken = false;
    }
}

void SystemTiming::Wake()
{
    {
        const std::lock_guard lock(m_mutex);
        m_woken = true;
    }
    m_wake.notify_all();
}

double SystemTiming::NextJitter()
{
    return std::uniform_real_distribution<double>(0.0, 1.0)(m_engine);
}

} // namespace kesdk::impl
