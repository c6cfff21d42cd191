#include "transfer/ResumableTransfer.h"

#include "client/RetryingClient.h"

#include <utility>

namespace kesdk::impl {

ResumableTransfer::ResumableTransfer(Timing& timing, std::optional<Clock::Time>& givenUpAt,
                                     AbortCheck abort, std::int64_t offsetBytes,
                                     TransferReport report)
    : m_timing(timing),
      m_givenUpAt(givenUpAt),
      m_abort(std::move(abort)),
      m_report(report),
      m_offset(offsetBytes),
      m_highest(offsetBytes),
      m_progress(timing.Now()),
      m_stallTimeout(givenUpAt && m_progress - *givenUpAt < kTransfer.deadLinkMemory
                         ? kTransfer.firstByteTimeout
                         : kStallTimeout)
{}

Failure ResumableTransfer::Run(const std::function<Attempt()>& attempt)
{
    Attempt last;
    while (!last.isDone) {
        m_report.SetDeadline(Deadline());
        last = attempt();
        if (!last.isDone)
            last = PrepareNext(last.failure);
    }
    m_givenUpAt.reset();
    if (last.failure.Is(EErrorCode::eNoProgress))
        m_givenUpAt = m_timing.Now();
    return last.failure;
}

ResumableTransfer::Attempt ResumableTransfer::PrepareNext(const Failure& failure)
{
    if (m_uselessAnswers >= kTransfer.mostUselessAnswers)
        return {true, failure.IsSet() ? failure : m_uselessReason};
    if (!failure.IsSet())
        return {};
    if (const Failure end = FinalFailure(failure); end.IsSet())
        return {true, end};
    m_report.SetDeadline(Deadline());
    m_report.SetWaiting();
    const auto delay = m_timing.Delay(m_policy.backoff, ++m_attempts, failure.retryAfter);
    if (!m_timing.Sleep(delay, m_abort))
        return {true, Failure(EErrorCode::eAborted)};
    return {};
}

bool ResumableTransfer::Reach(std::int64_t offsetBytes)
{
    m_offset = offsetBytes;
    m_report.ReachOffset(offsetBytes);
    const bool awaitedAnswer = std::exchange(m_awaitsAnswer, false);
    if (offsetBytes <= m_highest) {
        if (awaitedAnswer)
            CountUselessAnswer();
        return false;
    }
    m_highest = offsetBytes;
    m_attempts = 0;
    m_uselessAnswers = 0;
    RestartDeadline();
    return true;
}

void ResumableTransfer::CountUselessAnswer(const Failure& reason)
{
    ++m_uselessAnswers;
    m_uselessReason =
        reason.IsSet() ? reason : Failure(EErrorCode::eBadAnswer, "no answer made progress");
}

void ResumableTransfer::NoteBytesSent(Clock::Time start)
{
    // The transport ends an attempt that has stalled for a window: until then bytes were sent.
    const Clock::Time until = m_timing.Now() - m_policy.limits.stallWindow;
    if (until <= start)
        return;
    RestartDeadline();
    m_progress = until;
    m_awaitsAnswer = true;
}

void ResumableTransfer::RestartDeadline()
{
    m_progress = m_timing.Now();
    m_stallTimeout = kStallTimeout;
    m_awaitsAnswer = false;
}

// The failure with which the transfer ends; not set if another attempt follows.
Failure ResumableTransfer::FinalFailure(const Failure& failure) const
{
    if (!MayPass(failure))
        return failure;
    const Clock::Time now = m_timing.Now();
    if (now >= Deadline())
        return Failure(EErrorCode::eNoProgress,
                       "no byte for " + std::to_string(m_stallTimeout.count()) +
                           " s; last failure: " + failure.detail,
                       failure.httpStatus);
    // The service's own error tells the operator how long to wait.
    const bool isTooLong = failure.retryAfter && now + *failure.retryAfter >= Deadline();
    return isTooLong ? failure : Failure();
}

} // namespace kesdk::impl
