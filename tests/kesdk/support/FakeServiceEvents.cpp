// The service in memory: sessions and event streams.
#include "support/FakeService.h"

#include <algorithm>
#include <chrono>

namespace kesdk::test {

namespace {

bool Write(const impl::HttpRequest& request, const std::string& bytes)
{
    return request.sink->Write(bytes.data(), bytes.size());
}

} // namespace

void FakeService::AddEvent(const std::string& name, std::int64_t inboxId,
                           const std::string& entryJson)
{
    m_events.push_back(
        "event: " + name + "\ndata: {\"container\":{\"id\":" + std::to_string(inboxId) +
        ",\"kind\":\"user-inbox\",\"project\":" + std::to_string(m_inboxes[inboxId].project) +
        "},\"entry\":" + entryJson + "}\n\n");
    m_changed.notify_all();
}

void FakeService::EndSessions(const std::string& reason)
{
    const std::lock_guard lock(m_mutex);
    m_tokens.clear();
    m_endReason = reason;
    m_changed.notify_all();
}

void FakeService::RevokeTokens()
{
    const std::lock_guard lock(m_mutex);
    m_tokens.clear();
}

void FakeService::CloseStreams()
{
    const std::lock_guard lock(m_mutex);
    ++m_closeCount;
    m_changed.notify_all();
}

void FakeService::ForgetEvents()
{
    const std::lock_guard lock(m_mutex);
    m_firstEvent += static_cast<std::int64_t>(m_events.size()) + 10;
    m_events.clear();
}

void FakeService::SendOnStreams(const std::string& raw)
{
    const std::lock_guard lock(m_mutex);
    m_raw = raw;
    ++m_rawCount;
    m_changed.notify_all();
}

int FakeService::StreamCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_streams;
}

bool FakeService::WaitForStreams(int count) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, kHangGuard, [&] { return m_streams == count; });
}

FakeService::Outcome FakeService::Stream(const Request& request, const SentRequest& sent,
                                         const impl::AbortCheck& abort)
{
    std::unique_lock lock(m_mutex);
    if (UserOf(sent) == 0)
        return Respond(request, Problem(401, "unauthenticated"));
    std::int64_t next = std::stoll(sent.Header("Last-Event-ID")) + 1;
    if (next < m_firstEvent)
        return Respond(request, Problem(410, "cursor-too-old"));
    const std::int64_t closeCount = m_closeCount;
    std::int64_t rawCount = m_rawCount;
    ++m_streams;
    m_changed.notify_all();
    Outcome outcome;
    outcome.response = MakeResponse(200, {}, {{"Content-Type", "text/event-stream"}});
    lock.unlock();
    bool isOpen = request.sink->Accept(outcome.response) && Write(request, ": connected\n\n");
    lock.lock();
    while (isOpen && !impl::IsAborted(abort) && m_closeCount == closeCount) {
        std::string bytes;
        if (next < m_firstEvent + static_cast<std::int64_t>(m_events.size())) {
            bytes = "id: " + std::to_string(next) + "\n" +
                    m_events[static_cast<std::size_t>(next - m_firstEvent)];
            ++next;
        } else if (rawCount != m_rawCount) {
            rawCount = m_rawCount;
            bytes = m_raw;
        } else if (!m_endReason.empty()) {
            bytes = "event: session-ended\ndata: {\"reason\":\"" + m_endReason + "\"}\n\n";
        } else {
            m_changed.wait_for(lock, std::chrono::milliseconds(20));
            continue;
        }
        lock.unlock();
        isOpen = Write(request, bytes);
        lock.lock();
    }
    if (impl::IsAborted(abort))
        outcome.failure = impl::Failure(impl::EErrorCode::eAborted);
    else if (!isOpen)
        outcome.failure = impl::Failure(impl::EErrorCode::eCannotWrite, "sink");
    else if (!m_isOnline)
        outcome.failure = impl::Failure(impl::EErrorCode::eDropped, "offline");
    --m_streams;
    m_changed.notify_all();
    return outcome;
}

} // namespace kesdk::test
