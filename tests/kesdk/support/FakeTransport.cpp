#include "support/FakeTransport.h"

#include "base/Text.h"

#include <algorithm>
#include <array>

namespace kesdk::test {

std::string SentRequest::Header(const std::string& name) const
{
    for (const impl::HttpHeader& header : request.headers) {
        if (impl::EqualNoCase(header.name, name))
            return header.value;
    }
    return {};
}

std::string ReadBody(const impl::HttpRequest& request, std::size_t mostBytes, bool& failed)
{
    failed = false;
    if (!request.source)
        return request.body.substr(0, mostBytes);
    std::string content;
    std::array<char, 7> piece{};
    while (content.size() < mostBytes) {
        const std::size_t wanted = std::min(piece.size(), mostBytes - content.size());
        const std::ptrdiff_t got = request.source->Read(piece.data(), wanted);
        failed = got < 0;
        if (got <= 0)
            break;
        content.append(piece.data(), static_cast<std::size_t>(got));
    }
    request.source->NoteSent(static_cast<std::int64_t>(content.size()));
    return content;
}

impl::HttpOutcome Respond(const impl::HttpRequest& request, impl::HttpResponse response,
                          std::size_t mostBytes, impl::EErrorCode cutCode)
{
    impl::HttpOutcome outcome;
    const std::string body = std::move(response.body);
    response.body.clear();
    outcome.response = std::move(response);
    const bool isCut = mostBytes < body.size();
    const std::string arrived = body.substr(0, mostBytes);
    if (request.sink && request.sink->Accept(outcome.response)) {
        for (std::size_t at = 0; at < arrived.size(); at += 5) {
            const std::string piece = arrived.substr(at, 5);
            if (!request.sink->Write(piece.data(), piece.size())) {
                outcome.failure = impl::Failure(impl::EErrorCode::eCannotWrite, "sink");
                return outcome;
            }
        }
    } else {
        outcome.response.body = arrived;
    }
    if (isCut)
        outcome.failure = impl::Failure(cutCode, "cut");
    return outcome;
}

impl::HttpOutcome Drop(impl::EErrorCode code)
{
    impl::HttpOutcome outcome;
    outcome.failure = impl::Failure(code, "the link");
    return outcome;
}

impl::HttpResponse Problem(int status, const std::string& name, const std::string& detail)
{
    return MakeResponse(status, R"({"type":"urn:kelvo:problem:)" + name +
                                    R"(","title":"t","status":)" + std::to_string(status) +
                                    R"(,"detail":")" + detail + R"("})");
}

impl::HttpResponse MakeResponse(int status, const std::string& body,
                                std::vector<impl::HttpHeader> headers)
{
    impl::HttpResponse response;
    response.status = status;
    response.headers = std::move(headers);
    response.body = body;
    return response;
}

} // namespace kesdk::test
