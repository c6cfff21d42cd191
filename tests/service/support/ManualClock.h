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

    void advance(std::chrono::milliseconds by) { nowMs_ += by.count(); }

private:
    std::atomic<std::int64_t> nowMs_{1700000000000};
};

} // namespace kelvo::test
