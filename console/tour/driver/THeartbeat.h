// Measures the delays of the main thread's event loop.
#pragma once

#include <QtCore/QElapsedTimer>
#include <QtCore/QJsonObject>
#include <QtCore/QTimer>

#include <vector>

namespace tour {

// Measures the times between the beats of a timer of 5 ms. Thread: main.
class THeartbeat
{
public:
    static constexpr int intervalMs = 5;

    THeartbeat();

    void Start();
    // {"beats", "median", "p999", "worst"} since Start(), milliseconds.
    QJsonObject Stop();

private:
    void OnBeat();

    QTimer m_timer;
    QElapsedTimer m_sinceBeat;
    std::vector<qint64> m_gapsNs;
};

} // namespace tour
