// The real time.
#pragma once

#include "base/Timing.h"

#include <condition_variable>
#include <mutex>
#include <random>

namespace kesdk::impl {

class SystemClock : public Clock
{
public:
    Time Now() const override { return std::chrono::steady_clock::now(); }
};

// How long the console has slept since its start. The steady clock does not count this time.
std::chrono::milliseconds TimeAsleep();

class SystemTiming : public Timing
{
public:
    Time Now() const override { return SystemClock().Now(); }
    bool Sleep(std::chrono::milliseconds duration, const AbortCheck& abort) override;
    void Wake() override;

private:
    double NextJitter() override;

    std::mutex m_mutex; // guards m_woken
    std::condition_variable m_wake;
    bool m_woken = false;
    std::minstd_rand m_engine{std::random_device{}()};
};

} // namespace kesdk::impl
