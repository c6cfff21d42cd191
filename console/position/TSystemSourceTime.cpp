#include "console/position/TSystemSourceTime.h"

#include <QtCore/QTimer>

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

namespace {

class TQtTimer : public console::TSourceTimer
{
public:
    explicit TQtTimer(std::function<void()> onTimeout)
    {
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, std::move(onTimeout));
    }

    void Start(std::int64_t delayMs) override
    {
        constexpr std::int64_t longest = std::numeric_limits<int>::max();
        m_timer.start(static_cast<int>(std::clamp<std::int64_t>(delayMs, 0, longest)));
    }

    void Stop() override { m_timer.stop(); }

private:
    QTimer m_timer;
};

} // namespace

namespace console {

std::int64_t TSystemSourceTime::NowMs() const
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

std::unique_ptr<TSourceTimer> TSystemSourceTime::MakeTimer(std::function<void()> onTimeout)
{
    return std::make_unique<TQtTimer>(std::move(onTimeout));
}

} // namespace console
