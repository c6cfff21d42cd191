// The clock and the timers of a position source. Only the test advances the time.
#pragma once

#include "console/position/SourceTime.h"
#include "support/ManualTime.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace kelvo::test {

// Advance() and AdvanceToNext() fire the timers, in the order of their times. One thread only.
class TFakeTime : public console::TSourceTime
{
public:
    std::int64_t NowMs() const override { return m_time.Steady().count(); }
    std::unique_ptr<console::TSourceTimer> MakeTimer(std::function<void()> onTimeout) override;

    void Advance(std::int64_t ms);
    // Advances to the time of the next timer. False if no timer runs.
    bool AdvanceToNext();
    // The time until the next timer; negative if no timer runs.
    std::int64_t NextInMs() const;

private:
    class TTimer;

    TTimer* Next() const;

    void AdvanceTo(std::int64_t timeMs);

    ManualTime m_time;
    std::vector<TTimer*> m_timers;
};

} // namespace kelvo::test
