// The gate polls, because an abort check can only be polled.
#include "tests/fakes/FakeGate.h"

#include <chrono>

namespace fakes {

namespace {
constexpr std::chrono::milliseconds POLL_PERIOD{1};
constexpr std::chrono::seconds HANG_GUARD{30};
} // namespace

void FakeGate::Pass(const std::function<bool()>& shouldGiveUp)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_reached = true;
    m_changed.notify_all();
    while (!m_open) {
        lock.unlock();
        const bool giveUp = shouldGiveUp && shouldGiveUp();
        lock.lock();
        if (giveUp)
            return;
        m_changed.wait_for(lock, POLL_PERIOD);
    }
}

void FakeGate::Open()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open = true;
    m_changed.notify_all();
}

bool FakeGate::WaitUntilReached()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_changed.wait_for(lock, HANG_GUARD, [this] { return m_reached; });
}

} // namespace fakes
