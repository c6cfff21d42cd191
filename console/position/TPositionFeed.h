// From a source's bytes to the position monitor.
#pragma once

#include "console/position/TPositionMonitor.h"
#include "console/position/nmea/TFixJudge.h"
#include "console/position/nmea/TNmeaReader.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace console {

// Reads the sentences, judges them and tells the monitor. A fix is lost when the sentences make it
// void (see TFixJudge), when none has confirmed it for silenceMs, and with the end of the source.
// Garbage and sentences of other kinds confirm nothing, so that a receiver which goes on talking
// without telling a position is as silent as one that is unplugged.
//
// Thread: the source's. Units: milliseconds of the source's clock, which a played log has its own
// of.
class TPositionFeed
{
public:
    // Must be longer than the period of any receiver, or there are losses that are none.
    static constexpr std::int64_t silenceMs = 5000;

    explicit TPositionFeed(TPositionMonitor& monitor);

    void Take(std::string_view bytes, std::int64_t nowMs);
    // To be called at DeadlineMs(), at the latest.
    void Tick(std::int64_t nowMs);
    // When the fix will be lost if nothing comes; nothing without a fix.
    std::optional<std::int64_t> DeadlineMs() const { return m_deadlineMs; }
    // How many have come so far, of any kind.
    std::uint64_t WholeSentences() const { return m_reader.Counts().Whole(); }
    // What comes next is of another connection, if anything.
    void End();

private:
    void OnSentence(const TNmeaSentence& sentence);
    void Lose(ELossReason reason);

    TPositionMonitor& m_monitor;
    TNmeaReader m_reader;
    TFixJudge m_judge;
    std::int64_t m_nowMs = 0; // while the reader reads
    std::optional<std::int64_t> m_deadlineMs;
};

} // namespace console
