// Time that only the test advances. The fake clocks of the SDK, the service and the console use it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace kelvo::test {

// A steady clock and a time of day. Thread safety: safe.
class ManualTime
{
public:
    // The steady clock: it never goes back, and setting the time of day does not move it.
    std::chrono::milliseconds Steady() const { return std::chrono::milliseconds(m_steadyMs); }
    // The time of day, since 1970-01-01 UTC.
    std::chrono::milliseconds TimeOfDay() const { return std::chrono::milliseconds(m_dayMs); }

    // Time passes.
    void Advance(std::chrono::milliseconds by)
    {
        m_steadyMs += by.count();
        m_dayMs += by.count();
    }
    // Changes the time of day as a user does, forward or back.
    void ShiftTimeOfDay(std::chrono::milliseconds by) { m_dayMs += by.count(); }

private:
    std::atomic<std::int64_t> m_steadyMs{5000}; // the machine was started 5 s ago
    std::atomic<std::int64_t> m_dayMs{1700000000000};
};

} // namespace kelvo::test
