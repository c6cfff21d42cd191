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

// Owns the offset, the deadline and the backoff of one transfer. Uploads and Downloads make the
// attempts. After an answer, the next attempt follows at once. After a failure that may pass, the
// next attempt waits for the backoff. The transfer ends at the deadline, or if Retry-After is
// beyond the deadline.
//
// The deadline is the stall timeout after the last progress. Progress is an offset beyond the
// highest offset so far: bytes that arrive again do not count. The stall timeout is five minutes.
// If the transfer before was given up in the last two minutes, the stall timeout is 30 s until the
// first byte. Otherwise a selection of many files would wait for hours on a dead link. If bytes
// were sent and no answer has come, the deadline is five minutes after they were sent.
//
// Thread: the caller's. Errors: as Failure.
class ResumableTransfer
{
public:
    // How an attempt ended. If isDone is set, the transfer ends with this failure. Without isDone
    // and failure, the next attempt follows at once.
    struct Attempt
    {
        bool isDone = false;
        Failure failure;
    };

    // `givenUpAt` is when the last transfer of this direction was given up because no byte arrived.
    // It outlives the transfer. `offsetBytes` have arrived before.
    ResumableTransfer(Timing& timing, std::optional<Clock::Time>& givenUpAt, AbortCheck abort,
                      std::int64_t offsetBytes = 0, TransferReport report = TransferReport());

    // Blocks until an attempt is done, or until the transfer is given up.
    Failure Run(const std::function<Attempt()>& attempt);

    // Only the attempt calls the following functions.

    // Where the next attempt continues.
    std::int64_t OffsetBytes() const { return m_offset; }
    // The receiver has this many bytes. Returns whether that is progress.
    bool Reach(std::int64_t offsetBytes);
    // The receiver gets all of the file again.
    void StartOver()
    {
        m_offset = m_highest = 0;
        m_report.ReachOffset(0);
    }
    // An answer made no progress. After six such answers in a row the transfer ends, with the last
    // reason if there is one.
    void CountUselessAnswer(const Failure& reason = {});
    // A request that sent bytes from `start` until now has failed. If it took longer than the
    // transport's stall window, the link was alive, and the receiver may have the bytes.
    void NoteBytesSent(Clock::Time start);
    // An answer showed that the service was reached.
    void RestartDeadline();
    // For this time the console itself was busy, not the link.
    void Extend(Clock::Time::duration busy) { m_progress += busy; }

private:
    Attempt PrepareNext(const Failure& failure);
    Clock::Time Deadline() const { return m_progress + m_stallTimeout; }
    Failure FinalFailure(const Failure& failure) const;

    Timing& m_timing;
    std::optional<Clock::Time>& m_givenUpAt;
    const AbortCheck m_abort;
    const TransferReport m_report;
    const CallPolicy m_policy = PolicyOf(ECall::eContent);
    std::int64_t m_offset;
    std::int64_t m_highest;
    Clock::Time m_progress;      // the last one, or the start
    bool m_awaitsAnswer = false; // bytes were sent, and no answer tells whether they arrived
    std::chrono::seconds m_stallTimeout;
    int m_attempts = 0;       // in a row, without progress
    int m_uselessAnswers = 0; // in a row
    Failure m_uselessReason;
};

} // namespace kesdk::impl
