#include "connection/PositionSender.h"

#include <pthread.h>

#include <utility>

namespace kesdk::impl {

namespace {

// A busy service must not get the position again at once.
bool IsLinkFailure(const Failure& failure)
{
    return MayPass(failure) && !failure.Is(EErrorCode::eServiceBusy);
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
            m_hasReport.wait(lock, [this] { return m_isStopping || m_next || m_fetchSender; });
            if (m_isStopping)
                return;
            report.swap(m_next);
            fetchSender.swap(m_fetchSender);
            generation = m_generation;
        }
        if (report) {
            const Sender sender = report->sender;
            if (Send(std::move(*report), generation))
                SendFetches(sender, generation);
        } else if (WaitUntilIdle(generation)) {
            SendFetches(*fetchSender, generation);
        }
    }
}

bool PositionSender::Send(Report report, std::uint64_t generation)
{
    ApiCall call;
    call.token = report.sender.token;
    call.abort = [this, generation] { return IsOver(generation); };
    call.policy = PolicyOf(ECall::ePosition);
    const Failure failure = m_line.Api().PostPosition(call, report.position);
    if (failure.Is(EErrorCode::eSessionEnded))
        m_onSessionEnded(report.sender.sessionId);
    if (!IsLinkFailure(failure) || --report.triesLeft <= 0)
        return !failure.IsSet();
    const std::lock_guard lock(m_mutex);
    if (m_generation == generation && !m_next)
        m_next = std::move(report);
    return false;
}

// The next position, or the end of the next operation, tries again.
void PositionSender::SendFetches(const Sender& sender, std::uint64_t generation)
{
    if (m_isTransferring || IsOver(generation))
        return;
    ApiCall call;
    call.token = sender.token;
    call.serviceAndUser = sender.serviceAndUser;
    call.abort = [this, generation] { return IsOver(generation); };
    call.policy = PolicyOf(ECall::eFetches);
    if (m_fetches.Send(m_line.Api(), call).Is(EErrorCode::eSessionEnded))
        m_onSessionEnded(sender.sessionId);
}

// False if something else comes first. The end of a transfer calls SendFetchesWhenIdle again.
bool PositionSender::WaitUntilIdle(std::uint64_t generation)
{
    return m_line.Timing().Sleep(kIdleTime, [this, generation] {
        return IsOver(generation) || m_isTransferring || HasNext();
    });
}

bool PositionSender::HasNext()
{
    const std::lock_guard lock(m_mutex);
    return m_next.has_value();
}

} // namespace kesdk::impl
