// Moves one file over a link that drops: decides after each attempt whether and when the next one
// follows.
#pragma once

#include "base/LinkBoard.h"
#include "base/Timing.h"
#include "client/CallPolicy.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace kesdk::impl {

// When the last transfer of one direction was given up because no byte arrived.
class GivenUp
{
public:
    void Note(const Failure& failure, Clock::Time now);
    // For two minutes: the link is likely to be as bad as it was.
    bool IsRecent(Clock::Time now) const;

private:
    std::optional<Clock::Time> m_at;
};

// Owns the offset, the deadline and the backoff of one transfer. Uploads and Downloads make the
// attempts.
//
//              ┌───(an answer without a failure: the next step)────┐
//              ▼                                                   │
//   begin ─► attempt ──(whole, or a failure that may not pass)─────┼───────────────► end
//              ▲   └──(the link drops or stalls, the service is busy)               ▲
//              │                    ▼                                              │
//              └───────────────── backoff ──(deadline passed, Retry-After beyond it,
//                                             aborted)─────────────────────────────┘
//
// The deadline is the stall timeout after the last progress. Progress is an offset beyond the
// highest offset so far: bytes that arrive again do not count. The stall timeout is five minutes.
// It is 30 s for the first byte if the transfer before was given up in the last two minutes: on a
// dead link, a selection of many files would wait for hours otherwise. While no answer has
// confirmed bytes that left the console, the deadline is five minutes after they left.
//
// Thread: the caller's. Errors: as Failure.
class ResumableTransfer
{
public:
    // How an attempt ended. Neither done nor failed: the next attempt follows at once.
    struct Attempt
    {
        bool isDone = false;
        Failure failure; // with isDone: no attempt mends it
    };

    // `offsetBytes` have arrived before. `givenUp` outlives the transfer.
    ResumableTransfer(Timing& timing, GivenUp& givenUp, AbortCheck abort,
                      std::int64_t offsetBytes = 0, TransferReport report = TransferReport());

    // Blocks until an attempt is done, or until the transfer is given up.
    Failure Run(const std::function<Attempt()>& attempt);

    // The following are the attempt's to call.

    // Where the next attempt continues.
    std::int64_t OffsetBytes() const { return m_offset; }
    std::int64_t HighestOffsetBytes() const { return m_highest; }
    // The receiver has this many bytes. Returns whether that is progress.
    bool Reach(std::int64_t offsetBytes);
    // Another upload takes the place of this one: its offsets begin at 0.
    void StartOver()
    {
        m_offset = m_highest = 0;
        m_report.ReachOffset(0);
    }
    // An answer came and brought nothing. After six in a row the transfer ends, with the last
    // reason if there is one.
    void CountUselessAnswer(const Failure& reason = {});
    // Bytes left the console from `start` until now. If that took longer than the transport's stall
    // window, the link was alive, and the receiver may have them.
    void NoteSent(Clock::Time start);
    // An answer showed that the service was reached.
    void RestartDeadline();
    // For this time the console itself was busy, not the link.
    void Extend(Clock::Time::duration busy);

private:
    bool Pause(const Failure& failure);
    std::chrono::seconds Timeout() const;
    Clock::Time Deadline() const;
    Failure Judge(const Failure& failure) const;

    Timing& m_timing;
    GivenUp& m_givenUp;
    const AbortCheck m_abort;
    const TransferReport m_report;
    const CallPolicy m_policy = PolicyOf(ECall::eContent);
    std::int64_t m_offset;
    std::int64_t m_highest;
    Clock::Time m_progress; // the last one, or the start
    // Bytes left until then, and no answer has said yet whether they arrived.
    std::optional<Clock::Time> m_sentUntil;
    std::chrono::seconds m_stallTimeout;
    int m_attempts = 0;       // in a row, without progress
    int m_uselessAnswers = 0; // in a row
    Failure m_uselessReason;
};

} // namespace kesdk::impl
