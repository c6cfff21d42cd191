// Plays a log of NMEA sentences at the rate at which they were received.
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

// The times in the sentences give the rate. A line without a time (another kind, a comment, a
// damaged line) is played with the line before it. If the time goes back, the next sentence is
// played at once. The feed runs on the log's clock: a gap in the log that is longer than the feed's
// silenceMs loses the fix at any speed. A gap longer than maxGapMs (joined recordings) is played as
// maxGapMs.
//
// Errors: if the log cannot be read any more, the source writes a log line and ends.
class TLogSource : public TPositionSource
{
public:
    static constexpr std::int64_t maxGapMs = 30000;

    // `speed`: 1 is real time. The monitor and the time must outlive the source.
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
    std::int64_t m_startedAtMs = 0; // on the real clock
    std::int64_t m_logMs = 0;       // since the log's first sentence
    std::int64_t m_wakeAtMs = 0;
    QByteArray m_line; // the next line to play
    std::int64_t m_lineDueMs = 0;
    std::optional<std::int64_t> m_lastTimeOfDayMs;
};

} // namespace console
