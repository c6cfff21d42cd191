// Limits the time that device reports take on a bad link.
#pragma once

#include "base/Clock.h"
#include "client/CallPolicy.h"
#include "client/RetryingClient.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace kesdk::impl {

// After a report that the link dropped, further reports fail at once: for five times the time that
// the report took, 10 s at most. Then each gets one attempt of 2 s. So a receiver whose fix comes
// and goes without a network takes a small part of the caller's time.
//
// Thread: the caller's.
class ReportBackoff
{
public:
    // The caller's; outlives this object.
    explicit ReportBackoff(const Clock& clock) : m_clock(clock) {}

    // Sends a report. If it fails for a reason that may pass, a pause begins.
    Failure Send(const std::function<Failure()>& report)
    {
        const Clock::Time start = m_clock.Now();
        Failure failure = report();
        if (MayPass(failure)) {
            const Clock::Time end = m_clock.Now();
            m_isShort = true;
            m_pausesUntil = end + std::min<Clock::Time::duration>(
                                      (end - start) * kReportPauseFactor, kLongestReportPause);
        }
        return failure;
    }
    // The service was reached.
    void Restore() { m_isShort = false; }
    // Whether the stream is lost. When it is open again, reports get all their attempts again.
    void NoteStream(bool isLost)
    {
        if (std::exchange(m_isStreamLost, isLost) && !isLost)
            Restore();
    }
    // Whether the next report gets only one attempt of 2 s.
    bool IsShort() const { return m_isShort || m_isStreamLost; }
    // Whether no report is sent now.
    bool IsPausing() const { return m_isShort && m_clock.Now() < m_pausesUntil; }

private:
    const Clock& m_clock;
    bool m_isStreamLost = false;
    bool m_isShort = false;
    Clock::Time m_pausesUntil{};
};

} // namespace kesdk::impl
