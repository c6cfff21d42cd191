// A clock that moves only when told to.
#pragma once

#include "service/base/Clock.h"

#include <atomic>
#include <chrono>

namespace kelvo::test {

class ManualClock final : public Clock
{
public:
    std::int64_t nowMs() const override { return nowMs_; }

    std::int64_t steadyMs() const override { return steadyMs_; }

    void advance(std::chrono::milliseconds by)
    {
        nowMs_ += by.count();
        steadyMs_ += by.count();
    }

    /** Somebody sets the time of day. */
    void set(std::chrono::milliseconds by) { nowMs_ += by.count(); }

private:
    std::atomic<std::int64_t> nowMs_{1700000000000};
    std::atomic<std::int64_t> steadyMs_{5000}; // the machine has not run for long
};

} // namespace kelvo::test
