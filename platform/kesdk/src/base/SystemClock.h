// The real clock, sleeper and jitter.
#pragma once

#include "base/Clock.h"

#include <condition_variable>
#include <mutex>
#include <random>

namespace kesdk::impl {

class SystemClock : public Clock
{
public:
    Time Now() const override { return std::chrono::steady_clock::now(); }
};

class SystemSleeper : public Sleeper
{
public:
    bool Sleep(std::chrono::milliseconds duration, const AbortCheck& abort) override;
    void Wake() override;

private:
    std::mutex m_mutex; // guards m_woken
    std::condition_variable m_wake;
    bool m_woken = false;
};

// Not thread-safe: each thread needs its own.
class SystemJitter : public Jitter
{
public:
    double Next() override;

private:
    std::minstd_rand m_engine{std::random_device{}()};
};

} // namespace kesdk::impl
