// How long reports that nobody waits for may hold up whoever makes them.
#pragma once

#include "base/Clock.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace kesdk::impl {

// After a report that the link did not carry the next ones are tried only shortly, and not at all
// for a while that grows with the time that the failure took. So a receiver whose fix comes and
// goes where there is no network takes a small part of the caller's time, however often it does.
//
// Thread: the caller's.
class ReportPatience
{
public:
    void Fail(Clock::Time begin, Clock::Time end)
    {
        constexpr int kRestPerTry = 5;
        constexpr Clock::Time::duration kLongestRest = std::chrono::seconds(10);
        m_isShort = true;
        m_restsUntil = end + std::min((end - begin) * kRestPerTry, kLongestRest);
    }
    // The service was reached.
    void Restore() { m_isShort = false; }
    // Whether the stream is down; once it stands again, so does the patience.
    void SeeStream(bool isLost)
    {
        if (std::exchange(m_isStreamLost, isLost) && !isLost)
            Restore();
    }
    bool IsShort() const { return m_isShort || m_isStreamLost; }
    bool IsResting(Clock::Time now) const { return m_isShort && now < m_restsUntil; }

private:
    bool m_isStreamLost = false;
    bool m_isShort = false;
    Clock::Time m_restsUntil{};
};

} // namespace kesdk::impl
