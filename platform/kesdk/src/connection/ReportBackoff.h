// Limits the time that device reports take on a bad link.
#pragma once

#include "client/CallPolicy.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace kesdk::impl {

// After the link dropped a report, the next ones get one attempt of 2 s. Before that attempt there
// is a pause, which grows with the time of the failure. So a receiver whose fix comes and goes
// without a network takes a small part of the caller's time.
//
// Thread: the caller's.
class ReportBackoff
{
public:
    void Fail(Clock::Time start, Clock::Time end)
    {
        m_isShort = true;
        m_pausesUntil = end + std::min<Clock::Time::duration>((end - start) * kReportPauseFactor,
                                                              kLongestReportPause);
    }
    // The service was reached.
    void Restore() { m_isShort = false; }
    // Whether the stream is lost. When it is open again, reports get all their attempts again.
    void NoteStream(bool isLost)
    {
        if (std::exchange(m_isStreamLost, isLost) && !isLost)
            Restore();
    }
    bool IsShort() const { return m_isShort || m_isStreamLost; }
    bool IsPausing(Clock::Time now) const { return m_isShort && now < m_pausesUntil; }

private:
    bool m_isStreamLost = false;
    bool m_isShort = false;
    Clock::Time m_pausesUntil{};
};

} // namespace kesdk::impl
