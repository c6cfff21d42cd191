// Passes a source's bytes through the NMEA reader to the position monitor.
#pragma once

#include "console/position/TPositionMonitor.h"
#include "console/position/nmea/TFixValidity.h"
#include "console/position/nmea/TNmeaReader.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace console {

// Reads the sentences and reports each fix and each loss to the monitor. The fix is lost when the
// sentences make it void (see TFixValidity), when no sentence has confirmed it for silenceMs, and
// when the source ends. Only sentences with a position confirm the fix, so a receiver that sends
// other bytes only is as silent as an unplugged receiver.
//
// Thread: the source's thread. Units: milliseconds of the source's clock; a log has its own clock.
class TPositionFeed
{
public:
    // Longer than the period of any receiver: a shorter time would report false losses.
    static constexpr std::int64_t silenceMs = 5000;

    explicit TPositionFeed(TPositionMonitor& monitor);

    void Take(std::string_view bytes, std::int64_t nowMs);
    // Call it at DeadlineMs() or earlier.
    void Tick(std::int64_t nowMs);
    // The time at which the fix is lost if no sentence confirms it; empty without a fix.
    std::optional<std::int64_t> DeadlineMs() const { return m_deadlineMs; }
    // The number of whole sentences of any kind until now.
    std::uint64_t WholeSentences() const { return m_reader.Counts().Whole(); }
    // The connection has ended. Later bytes belong to a new connection.
    void End();

private:
    void OnSentence(const TNmeaSentence& sentence);
    void Lose(ELossReason reason);

    TPositionMonitor& m_monitor;
    TNmeaReader m_reader;
    TFixValidity m_validity;
    std::int64_t m_nowMs = 0; // valid while the reader runs
    std::optional<std::int64_t> m_deadlineMs;
};

} // namespace console
