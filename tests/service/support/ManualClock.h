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
};

} // namespace kelvo::test
