// Time that passes only in Advance and in sleeps.
#pragma once

#include "base/Clock.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace kesdk::test {

// The time that a fake clock and a fake sleeper share. Thread safety: safe.
class FakeTime
{
public:
    impl::Clock::Time Now() const;
    void Advance(std::chrono::milliseconds duration);
    void Record(std::chrono::milliseconds duration);
    // The durations of all sleeps so far.
    std::vector<std::chrono::milliseconds> Sleeps() const;

private:
    mutable std::mutex m_mutex; // guards everything below
    impl::Clock::Time m_now{std::chrono::hours(1)};
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

// Sleeps by advancing the time.
class FakeSleeper : public impl::Sleeper
{
public:
    explicit FakeSleeper(std::shared_ptr<FakeTime> time) : m_time(std::move(time)) {}
    bool Sleep(std::chrono::milliseconds duration, const impl::AbortCheck& abort) override;
    void Wake() override {}

private:
    std::shared_ptr<FakeTime> m_time;
};

// Sleeps until the abort check is true. Wake makes it poll the check.
class BlockingSleeper : public impl::Sleeper
{
public:
    bool Sleep(std::chrono::milliseconds duration, const impl::AbortCheck& abort) override;
    void Wake() override;

private:
    std::mutex m_mutex; // guards m_wakes
    std::condition_variable m_woken;
    int m_wakes = 0;
};

class FixedJitter : public impl::Jitter
{
public:
    explicit FixedJitter(double value) : m_value(value) {}
    double Next() override { return m_value; }

private:
    double m_value;
};

} // namespace kesdk::test
