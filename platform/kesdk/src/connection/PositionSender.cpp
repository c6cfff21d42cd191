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

PositionSender::PositionSender(ApiClient& api, SessionEnded onSessionEnded)
    : m_api(api), m_onSessionEnded(std::move(onSessionEnded)), m_thread([this] { Run(); })
{}

PositionSender::~PositionSender()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_hasReport.notify_all();
    m_api.Wake();
    m_thread.join();
}

void PositionSender::Put(const api::Position& position, std::int32_t sessionId,
                         const std::string& token)
{
    {
        const std::lock_guard lock(m_mutex);
        m_next = Report{position, sessionId, token, PolicyOf(ECall::ePosition).attempts};
    }
    m_hasReport.notify_all();
}

void PositionSender::Clear()
{
    {
        const std::lock_guard lock(m_mutex);
        m_next.reset();
        ++m_generation;
    }
    m_api.Wake();
}

void PositionSender::Run()
{
    ::pthread_setname_np(::pthread_self(), "kesdk-position");
    for (;;) {
        std::optional<Report> report;
        std::uint64_t generation = 0;
        {
            std::unique_lock lock(m_mutex);
            m_hasReport.wait(lock, [this] { return m_isStopping || m_next; });
            if (m_isStopping)
                return;
            report.swap(m_next);
            generation = m_generation;
        }
        Send(std::move(*report), generation);
    }
}

void PositionSender::Send(Report report, std::uint64_t generation)
{
    ApiCall call;
    call.token = report.token;
    call.abort = [this, generation] { return m_isStopping || m_generation != generation; };
    call.policy = PolicyOf(ECall::ePosition);
    const Failure failure = m_api.PostPosition(call, report.position);
    if (failure.Is(EErrorCode::eSessionEnded))
        m_onSessionEnded(report.sessionId);
    if (!IsLinkFailure(failure) || --report.triesLeft <= 0)
        return;
    const std::lock_guard lock(m_mutex);
    if (m_generation == generation && !m_next)
        m_next = std::move(report);
}

} // namespace kesdk::impl
