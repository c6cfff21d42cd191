// The service in memory: carries out requests, with or without a fault.
#include "support/FakeService.h"

#include <algorithm>
#include <limits>

namespace kesdk::test {

using impl::HttpResponse;

std::optional<Fault> FakeService::TakeFault(const std::string& line)
{
    const auto found = std::find_if(m_faults.begin(), m_faults.end(), [&](const Fault& fault) {
        return line.compare(0, fault.line.size(), fault.line) == 0;
    });
    if (found == m_faults.end())
        return std::nullopt;
    Fault fault = std::move(*found);
    m_faults.erase(found);
    return fault;
}

FakeService::Outcome FakeService::Handle(const Request& request, const impl::AbortCheck& abort)
{
    if (impl::IsAborted(abort))
        return Drop(impl::EErrorCode::eAborted);
    SentRequest sent{request, {}};
    std::optional<Fault> fault;
    if (onRequest)
        onRequest(sent.Line());
    {
        const std::lock_guard lock(m_mutex);
        if (!m_isOnline)
            return Drop(impl::EErrorCode::eRefused);
        fault = TakeFault(sent.Line());
    }
    if (fault && !fault->until.empty() && !WaitForRequests(fault->until, 1))
        return Drop(impl::EErrorCode::eTimeout);
    if (fault && fault->kind == Fault::EKind::eDropBefore) {
        const std::lock_guard lock(m_mutex);
        Note(sent);
        return Drop(fault->dropCode);
    }
    if (!fault && sent.Line() == "GET /v1/events") {
        {
            const std::lock_guard lock(m_mutex);
            Note(sent);
        }
        return Stream(request, sent, abort);
    }
    return CarryOut(sent, fault);
}

FakeService::Outcome FakeService::CarryOut(SentRequest& sent, const std::optional<Fault>& fault)
{
    constexpr std::size_t kAll = std::numeric_limits<std::size_t>::max();
    const auto bytesOf = [&](Fault::EKind kind) {
        return fault && fault->kind == kind ? fault->bytes : kAll;
    };
    const bool isCut = fault && fault->kind == Fault::EKind::eCutRequest;
    bool sourceFailed = false;
    sent.content = ReadBody(sent.request, bytesOf(Fault::EKind::eCutRequest), sourceFailed);
    HttpResponse response;
    {
        const std::lock_guard lock(m_mutex);
        Note(sent);
        if (!fault || fault->kind != Fault::EKind::eAnswer)
            response = Answer(sent, !sourceFailed && !isCut);
    }
    if (fault && (fault->kind == Fault::EKind::eAnswer || fault->kind == Fault::EKind::eReplace))
        response = fault->answer;
    if (sourceFailed)
        return Drop(impl::EErrorCode::eFileUnreadable);
    if (isCut || (fault && fault->kind == Fault::EKind::eDropAfter))
        return Drop(fault->dropCode);
    return Respond(sent.request, response, bytesOf(Fault::EKind::eCutResponse),
                   fault ? fault->dropCode : impl::EErrorCode::eDropped);
}

void FakeService::Note(const SentRequest& sent)
{
    m_requests.push_back(sent);
    m_changed.notify_all();
}

} // namespace kesdk::test
