// Plays a log of NMEA sentences at the pace in which they were received.
#pragma once

#include "console/position/SourceTime.h"
#include "console/position/TPositionFeed.h"
#include "console/position/TPositionSource.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QString>

#include <cstdint>
#include <memory>
#include <optional>

namespace console {

// The pace is that of the sentences' own times. What has no time (other kinds, comments, damaged
// lines) comes with what stands before it. Times that go back are played on at once. The clock of
// the feed is the log's: whatever the speed, a hole of the log that is longer than the feed's
// silenceMs is a silence and loses the fix. Holes longer than maxHoleMs (recordings that were
// joined) are played as maxHoleMs.
//
// Errors: a log that can no longer be read is told on the console's log and has ended.
class TLogSource : public TPositionSource
{
public:
    static constexpr std::int64_t maxHoleMs = 30000;

    // `speed`: 1 is real time. Monitor and time must outlive it.
    TLogSource(const QString& path, double speed, TPositionMonitor& monitor, TSourceTime& time);
    ~TLogSource() override;

    void Start() override;

private:
    void OnTimer();
    void Play();
    bool ReadLine();
    std::int64_t DueMs(const QByteArray& line);
    void WakeAt(std::int64_t logMs);
    void End();

    QFile m_file;
    const double m_speed;
    TPositionMonitor& m_monitor;
    TPositionFeed m_feed;
    TSourceTime& m_time;
    std::unique_ptr<TSourceTimer> m_timer;
    std::int64_t m_startedAtMs = 0; // of the real clock
    std::int64_t m_logMs = 0;       // since the log's first sentence
    std::int64_t m_wakeAtMs = 0;
    QByteArray m_line; // the next one to play, and when
    std::int64_t m_lineDueMs = 0;
    std::optional<std::int64_t> m_lastTimeOfDayMs;
};

} // namespace console
