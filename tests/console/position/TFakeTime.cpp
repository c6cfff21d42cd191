#include "console/position/TFakeTime.h"

#include <algorithm>
#include <utility>

namespace kelvo::test {

class TFakeTime::TTimer : public console::TSourceTimer
{
public:
    TTimer(TFakeTime& time, std::function<void()> onTimeout)
        : m_time(time), m_onTimeout(std::move(onTimeout))
    {
        m_time.m_timers.push_back(this);
    }
    ~TTimer() override
    {
        auto& timers = m_time.m_timers;
        timers.erase(std::find(timers.begin(), timers.end(), this));
    }
    TTimer(const TTimer&) = delete;
    TTimer& operator=(const TTimer&) = delete;

    void Start(std::int64_t delayMs) override { m_dueMs = m_time.NowMs() + delayMs; }
    void Stop() override { m_dueMs.reset(); }
    std::optional<std::int64_t> DueMs() const { return m_dueMs; }
    void Fire()
    {
        m_dueMs.reset();
        m_onTimeout();
    }

private:
    TFakeTime& m_time;
    std::function<void()> m_onTimeout;
    std::optional<std::int64_t> m_dueMs;
};

std::unique_ptr<console::TSourceTimer> TFakeTime::MakeTimer(std::function<void()> onTimeout)
{
    return std::make_unique<TTimer>(*this, std::move(onTimeout));
}

TFakeTime::TTimer* TFakeTime::Next() const
{
    TTimer* next = nullptr;
    for (TTimer* const timer : m_timers) {
        if (timer->DueMs() && (next == nullptr || *timer->DueMs() < *next->DueMs())) {
            next = timer;
        }
    }
    return next;
}

void TFakeTime::AdvanceTo(std::int64_t timeMs)
{
    m_time.Advance(std::chrono::milliseconds(std::max<std::int64_t>(timeMs - NowMs(), 0)));
}

void TFakeTime::Advance(std::int64_t ms)
{
    const std::int64_t untilMs = NowMs() + ms;
    for (TTimer* next = Next(); next != nullptr && *next->DueMs() <= untilMs; next = Next()) {
        AdvanceTo(*next->DueMs());
        next->Fire();
    }
    AdvanceTo(untilMs);
}

bool TFakeTime::AdvanceToNext()
{
    TTimer* const next = Next();
    if (next == nullptr) {
        return false;
    }
    AdvanceTo(*next->DueMs());
    next->Fire();
    return true;
}

std::int64_t TFakeTime::NextInMs() const
{
    const TTimer* const next = Next();
    return next == nullptr ? -1 : *next->DueMs() - NowMs();
}

} // namespace kelvo::test
