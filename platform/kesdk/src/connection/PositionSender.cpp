#include "connection/PositionSender.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace kesdk::impl {

namespace {

// A busy service must not get the position again at once.
bool IsLinkFailure(const Failure& failure)
{
    return MayPass(failure) && !failure.Is(EErrorCode::eServiceBusy);
}

// The service does not take such reports, or not of this account. A proxy may answer 405, too.
bool EndsFetches(const Failure& failure)
{
    constexpr int kMethodNotAllowed = 405;
    return failure.Is(EErrorCode::eNotFound, EErrorCode::eForbidden, EErrorCode::eSessionEnded) ||
           failure.httpStatus == kMethodNotAllowed;
}

} // namespace

PositionSender::PositionSender(ApiLine& line, FetchReports& fetches, SessionEnded onSessionEnded)
    : m_line(line),
      m_fetches(fetches),
      m_onSessionEnded(std::move(onSessionEnded)),
      m_thread([this] { Run(); })
{}

PositionSender::~PositionSender()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_hasReport.notify_all();
    m_line.Api().Wake();
    m_thread.join();
}

void PositionSender::Put(const api::Position& position, Sender sender)
{
    {
        const std::lock_guard lock(m_mutex);
        m_next = Report{position, std::move(sender), PolicyOf(ECall::ePosition).attempts};
    }
    m_hasReport.notify_all();
    m_line.Timing().Wake(); // ends WaitUntilIdle
}

void PositionSender::SendFetchesWhenIdle(Sender sender)
{
    {
        const std::lock_guard lock(m_mutex);
        m_fetchSender = std::move(sender);
    }
    m_hasReport.notify_all();
}

void PositionSender::SetTransferring(bool isTransferring)
{
    {
        const std::lock_guard lock(m_mutex);
        m_isTransferring = isTransferring;
    }
    m_hasReport.notify_all();
}

void PositionSender::Clear()
{
    {
        const std::lock_guard lock(m_mutex);
        m_next.reset();
        m_fetchSender.reset();
        ++m_generation;
    }
    m_line.Api().Wake();
}

void PositionSender::Run()
{
    ::pthread_setname_np(::pthread_self(), "kesdk-position");
    for (;;) {
        std::optional<Report> report;
        std::optional<Sender> fetchSender;
        std::uint64_t generation = 0;
        {
            std::unique_lock lock(m_mutex);
            m_hasReport.wait(lock, [this] {
                return m_isStopping || m_next || (m_fetchSender && !m_isTransferring);
            });
            if (m_isStopping)
                return;
            report.swap(m_next);
            fetchSender.swap(m_fetchSender);
            generation = m_generation;
        }
        const Sender sender = report ? report->sender : *fetchSender;
        const bool isTime =
            report ? Send(std::move(*report), generation) : WaitUntilIdle(generation);
        if (isTime ? SendFetches(sender, generation) : !fetchSender)
            continue;
        const std::lock_guard lock(m_mutex);
        if (m_generation == generation && !m_fetchSender)
            m_fetchSender = sender;
    }
}

bool PositionSender::Send(Report report, std::uint64_t generation)
{
    ApiCall call;
    call.token = report.sender.token;
    call.abort = [this, generation] { return HasEnded(generation); };
    call.policy = PolicyOf(ECall::ePosition);
    const Failure failure = m_line.Api().PostPosition(call, report.position);
    if (failure.Is(EErrorCode::eSessionEnded) && m_onSessionEnded(report.sender.sessionId))
        m_refusedGeneration = generation;
    if (!IsLinkFailure(failure) || --report.triesLeft <= 0)
        return !failure.IsSet();
    const std::lock_guard lock(m_mutex);
    if (m_generation == generation && !m_next)
        m_next = std::move(report);
    return false;
}

bool PositionSender::SendFetches(const Sender& sender, std::uint64_t generation)
{
    if (m_refusedGeneration == generation)
        return true;
    Timing& timing = m_line.Timing();
    if (m_isTransferring || HasEnded(generation) || timing.Now() < m_nextFetches)
        return false;
    ApiCall call;
    call.token = sender.token;
    call.account = sender.account;
    call.abort = [this, generation] { return HasEnded(generation); };
    call.policy = PolicyOf(ECall::eFetches);
    Failure failure;
    bool isRest = false;
    do {
        failure = m_fetches.Send(m_line.Api(), call);
        isRest = m_fetches.HasAny(sender.account);
    } while (!failure.IsSet() && isRest && !MustYield(generation));
    if (failure.Is(EErrorCode::eAborted))
        return false;
    // A login may have come between the check of the session and SendFetchesWhenIdle.
    if (failure.Is(EErrorCode::eSessionEnded) && !m_onSessionEnded(sender.sessionId))
        return true;
    if (EndsFetches(failure))
        m_refusedGeneration = generation;
    m_failedFetches = failure.IsSet() ? m_failedFetches + 1 : 0;
    if (failure.IsSet())
        m_nextFetches =
            timing.Now() + timing.Delay(call.policy.backoff, m_failedFetches, failure.retryAfter);
    return !isRest || EndsFetches(failure);
}

// False if something else comes first.
bool PositionSender::WaitUntilIdle(std::uint64_t generation)
{
    using std::chrono::milliseconds;
    Timing& timing = m_line.Timing();
    const auto backoff = std::chrono::ceil<milliseconds>(m_nextFetches - timing.Now());
    return timing.Sleep(std::max<milliseconds>(kIdleTime, backoff),
                        [this, generation] { return MustYield(generation); });
}

bool PositionSender::MustYield(std::uint64_t generation)
{
    const std::lock_guard lock(m_mutex);
    return HasEnded(generation) || m_isTransferring || m_next;
}

} // namespace kesdk::impl
