// The service's clock on time that only the test moves.
#pragma once

#include "service/base/Clock.h"
#include "tests/support/ManualTime.h"

namespace kelvo::test {

class ManualClock final : public Clock, public ManualTime
{
public:
    std::int64_t nowMs() const override { return TimeOfDay().count(); }
    std::int64_t steadyMs() const override { return Steady().count(); }
    std::int64_t machineMs() const override { return nowMs() - behindMs_; }
    ExpiryTime expiryNow() const override { return {nowMs() - heldBackMs_}; }

    /** The time of day jumps ahead, and the clock is not trusted any more. */
    void JumpAhead(std::chrono::milliseconds by)
    {
        ShiftTimeOfDay(by);
        heldBackMs_ += by.count();
    }

    /** The machine's clock falls behind. The service does not trust it, and its times go on. */
    void FallBehind(std::chrono::milliseconds by) { behindMs_ += by.count(); }

private:
    std::atomic<std::int64_t> behindMs_{0};
    std::atomic<std::int64_t> heldBackMs_{0};
};

} // namespace kelvo::test
