#include "service/Drain.h"

#include "service/base/Log.h"

namespace kelvo {

namespace {

using Steady = std::chrono::steady_clock;

constexpr std::chrono::milliseconds tick{50};

} // namespace

void drain(std::chrono::milliseconds time, const StopSignals& signals, http::Listener& listener,
           events::EventBroker& broker)
{
    if (time.count() == 0) {
        return;
    }
    listener.retire();
    const auto end = Steady::now() + time;
    const auto noticed = end - time / 4 * 3;
    const double streams = static_cast<double>(broker.openStreams());
    for (auto now = Steady::now(); now < end; now = Steady::now()) {
        if (signals.comesWithin(tick)) {
            logInfo("drain-cut");
            return;
        }
        if (now >= noticed) {
            const double left = std::chrono::duration<double>(end - now) / (end - noticed);
            broker.retire(static_cast<std::size_t>(streams * left));
        }
    }
}

} // namespace kelvo
