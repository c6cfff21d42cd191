// The position sources' time and timers, on time that only the test moves.
#pragma once

#include "console/position/SourceTime.h"
#include "support/ManualTime.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace kelvo::test {

// Timers fire from within Advance() and AdvanceToNext(), in the order of their times. One thread.
class TFakeTime : public console::TSourceTime
{
public:
    std::int64_t NowMs() const override { return m_time.Steady().count(); }
    std::unique_ptr<console::TSourceTimer> MakeTimer(std::function<void()> onTimeout) override;

    void Advance(std::int64_t ms);
    // To when the next timer is due. False if none runs.
    bool AdvanceToNext();
    // How long until then; negative if none runs.
    std::int64_t NextInMs() const;

private:
    class TTimer;

    TTimer* Next() const;

    void AdvanceTo(std::int64_t timeMs);

    ManualTime m_time;
    std::vector<TTimer*> m_timers;
};

} // namespace kelvo::test
