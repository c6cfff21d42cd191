#include "transfer/ResumableTransfer.h"

#include "client/RetryingClient.h"

#include <utility>

namespace kesdk::impl {

namespace {

constexpr std::chrono::seconds kFirstByteTimeout{30};
// A link does not bring such answers, so more patience would not help.
constexpr int kMostUselessAnswers = 6;

} // namespace

void GivenUp::Note(const Failure& failure, Clock::Time now)
{
    m_at = failure.Is(EErrorCode::eNoProgress) ? std::optional(now) : std::nullopt;
}

bool GivenUp::IsRecent(Clock::Time now) const
{
    constexpr std::chrono::minutes kRecent{2};
    return m_at && now - *m_at < kRecent;
}

ResumableTransfer::ResumableTransfer(Timing& timing, GivenUp& givenUp, AbortCheck abort,
                                     std::int64_t offsetBytes, TransferReport report)
    : m_timing(timing),
      m_givenUp(givenUp),
      m_abort(std::move(abort)),
      m_report(report),
      m_offset(offsetBytes),
      m_highest(offsetBytes),
      m_progress(timing.Now()),
      m_stallTimeout(givenUp.IsRecent(m_progress) ? kFirstByteTimeout : kStallTimeout)
{}

Failure ResumableTransfer::Run(const std::function<Attempt()>& attempt)
{
    Attempt last;
    while (!last.isDone) {
        m_report.SetDeadline(Deadline());
        last = attempt();
        if (last.isDone)
            break;
        if (m_uselessAnswers >= kMostUselessAnswers) {
            last = {true, last.failure.IsSet() ? last.failure : m_uselessReason};
        } else if (last.failure.IsSet()) {
            if (const Failure end = Judge(last.failure); end.IsSet())
                last = {true, end};
            else if (!Pause(last.failure))
                last = {true, Failure(EErrorCode::eAborted)};
        }
    }
    m_givenUp.Note(last.failure, m_timing.Now());
    return last.failure;
}

// False if the transfer is aborted.
bool ResumableTransfer::Pause(const Failure& failure)
{
    m_report.SetDeadline(Deadline());
    m_report.Wait();
    return m_timing.Pause(m_policy.backoff, ++m_attempts, failure.retryAfter, m_abort);
}

bool ResumableTransfer::Reach(std::int64_t offsetBytes)
{
    m_offset = offsetBytes;
    m_report.ReachOffset(offsetBytes);
    const bool wasSent = std::exchange(m_sentUntil, std::nullopt).has_value();
    if (offsetBytes <= m_highest) {
        if (wasSent)
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
        reason.IsSet() ? reason : Failure(EErrorCode::eBadAnswer, "the answers bring nothing");
}

void ResumableTransfer::NoteSent(Clock::Time start)
{
    // The transport ends an attempt that has stalled for a window: until then bytes left.
    const Clock::Time until = m_timing.Now() - m_policy.limits.stallWindow;
    if (until > start)
        m_sentUntil = until;
}

void ResumableTransfer::RestartDeadline()
{
    m_progress = m_timing.Now();
    m_stallTimeout = kStallTimeout;
    m_sentUntil.reset();
}

void ResumableTransfer::Extend(Clock::Time::duration busy)
{
    m_progress += busy;
    if (m_sentUntil)
        *m_sentUntil += busy;
}

std::chrono::seconds ResumableTransfer::Timeout() const
{
    return m_sentUntil ? kStallTimeout : m_stallTimeout;
}

Clock::Time ResumableTransfer::Deadline() const
{
    return m_sentUntil.value_or(m_progress) + Timeout();
}

// The failure to end with; not set if another attempt follows.
Failure ResumableTransfer::Judge(const Failure& failure) const
{
    if (!MayPass(failure))
        return failure;
    const Clock::Time deadline = Deadline();
    const Clock::Time now = m_timing.Now();
    if (now >= deadline)
        return Failure(EErrorCode::eNoProgress,
                       "no byte for " + std::to_string(Timeout().count()) +
                           " s; last failure: " + failure.detail,
                       failure.httpStatus);
    // The service's own error tells the operator how long to wait.
    const bool isTooLong = failure.retryAfter && now + *failure.retryAfter >= deadline;
    return isTooLong ? failure : Failure();
}

} // namespace kesdk::impl
