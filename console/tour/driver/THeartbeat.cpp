#include "console/tour/driver/THeartbeat.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double nsPerMs = 1e6;

// The gap that a share of all gaps do not exceed. `gapsNs` is sorted.
double GapMs(const std::vector<qint64>& gapsNs, double share)
{
    if (gapsNs.empty()) {
        return 0;
    }
    const auto rank = static_cast<std::size_t>(
        std::ceil(share * static_cast<double>(gapsNs.size()))); // nearest rank, from 1
    return static_cast<double>(gapsNs[std::max<std::size_t>(rank, 1) - 1]) / nsPerMs;
}

} // namespace

namespace tour {

THeartbeat::THeartbeat()
{
    m_timer.setTimerType(Qt::PreciseTimer);
    m_timer.setInterval(intervalMs);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { OnBeat(); });
}

void THeartbeat::Start()
{
    m_gapsNs.clear();
    m_sinceBeat.start();
    m_timer.start();
}

QJsonObject THeartbeat::Stop()
{
    m_timer.stop();
    std::sort(m_gapsNs.begin(), m_gapsNs.end());
    return QJsonObject{{QStringLiteral("beats"), static_cast<int>(m_gapsNs.size())},
                       {QStringLiteral("median"), GapMs(m_gapsNs, 0.5)},
                       {QStringLiteral("p999"), GapMs(m_gapsNs, 0.999)},
                       {QStringLiteral("worst"), GapMs(m_gapsNs, 1.0)}};
}

void THeartbeat::OnBeat()
{
    m_gapsNs.push_back(m_sinceBeat.nsecsElapsed());
    m_sinceBeat.start();
}

} // namespace tour
