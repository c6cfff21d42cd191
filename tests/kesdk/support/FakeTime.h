// The SDK's clock and pauses, on time that only a test or a sleep moves.
#pragma once

#include "base/Timing.h"
#include "tests/support/ManualTime.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace kesdk::test {

// The fake clocks of a connection share one of these. Thread safety: safe.
class FakeTime : public kelvo::test::ManualTime
{
public:
    impl::Clock::Time Now() const { return impl::Clock::Time(Steady()); }
    // Records a sleep and advances the time by its duration.
    void Record(std::chrono::milliseconds duration);
    // The durations of all sleeps so far.
    std::vector<std::chrono::milliseconds> Sleeps() const;

private:
    mutable std::mutex m_mutex; // guards m_sleeps
    std::vector<std::chrono::milliseconds> m_sleeps;
};

class FakeClock : public impl::Clock
{
public:
    explicit FakeClock(std::shared_ptr<FakeTime> time) : m_time(std::move(time)) {}
    Time Now() const override { return m_time->Now(); }

private:
    std::shared_ptr<FakeTime> m_time;
};

// Sleeps by advancing the fake time. Each jitter is the same.
class FakeTiming : public impl::Timing
{
public:
    FakeTiming(std::shared_ptr<FakeTime> time, double jitter)
        : m_time(std::move(time)), m_jitter(jitter)
    {}
    Time Now() const override { return m_time->Now(); }
    bool Sleep(std::chrono::milliseconds duration, const impl::AbortCheck& abort) override;
    void Wake() override {}

private:
    double NextJitter() override { return m_jitter; }

    std::shared_ptr<FakeTime> m_time;
    const double m_jitter;
};

// Sleeps until the abort check returns true. Asks the check once per Wake().
class BlockingTiming : public FakeTiming
{
public:
    using FakeTiming::FakeTiming;
    bool Sleep(std::chrono::milliseconds duration, const impl::AbortCheck& abort) override;
    void Wake() override;

private:
    std::mutex m_mutex; // guards m_wakes
    std::condition_variable m_woken;
    int m_wakes = 0;
};

} // namespace kesdk::test
