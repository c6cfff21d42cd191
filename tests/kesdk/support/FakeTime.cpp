#include "support/FakeTime.h"

namespace kesdk::test {

void FakeTime::Record(std::chrono::milliseconds duration)
{
    const std::lock_guard lock(m_mutex);
    m_sleeps.push_back(duration);
    Advance(duration);
}

std::vector<std::chrono::milliseconds> FakeTime::Sleeps() const
{
    const std::lock_guard lock(m_mutex);
    return m_sleeps;
}

bool FakeTiming::Sleep(std::chrono::milliseconds duration, const impl::AbortCheck& abort)
{
    if (impl::IsAborted(abort))
        return false;
    m_time->Record(duration);
    return !impl::IsAborted(abort);
}

bool BlockingTiming::Sleep(std::chrono::milliseconds, const impl::AbortCheck& abort)
{
    std::unique_lock lock(m_mutex);
    for (;;) {
        const int wakes = m_wakes;
        lock.unlock();
        if (impl::IsAborted(abort))
            return false;
        lock.lock();
        m_woken.wait(lock, [&] { return m_wakes != wakes; });
    }
}

void BlockingTiming::Wake()
{
    {
        const std::lock_guard lock(m_mutex);
        ++m_wakes;
    }
    m_woken.notify_all();
}

} // namespace kesdk::test
