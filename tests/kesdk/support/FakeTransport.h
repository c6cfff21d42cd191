// A transport that calls a function instead of the network.
#pragma once

#include "http/HttpTransport.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kesdk::test {

// A request that was sent.
struct SentRequest
{
    impl::HttpRequest request;
    std::string content; // the part of the body that was sent

    std::string Header(const std::string& name) const; // empty when there is none
    std::string Line() const { return request.method + " " + request.target; }
};

// Thread safety: Perform on one thread at a time, other functions on any thread.
class FakeTransport : public impl::HttpTransport
{
public:
    // Answers one request. ReadBody reads the request's source, Respond writes to its sink.
    using Handler =
        std::function<impl::HttpOutcome(const impl::HttpRequest&, const impl::AbortCheck&)>;

    explicit FakeTransport(Handler handler) : m_handler(std::move(handler)) {}

    impl::HttpOutcome Perform(const impl::HttpRequest& request,
                              const impl::AbortCheck& abort) override
    {
        return m_handler(request, abort);
    }
    void Wake() override
    {
        if (onWake)
            onWake();
    }

    std::function<void()> onWake;

private:
    Handler m_handler;
};

// Reads at most `mostBytes` of the request's body, in small pieces. Sets `failed` when the source
// returns an error.
std::string ReadBody(const impl::HttpRequest& request, std::size_t mostBytes, bool& failed);

// Gives the response to the sink, or keeps its body. A body longer than `mostBytes` is cut.
impl::HttpOutcome Respond(const impl::HttpRequest& request, impl::HttpResponse response,
                          std::size_t mostBytes = static_cast<std::size_t>(-1),
                          impl::EErrorCode cutCode = impl::EErrorCode::eDropped);

impl::HttpOutcome Drop(impl::EErrorCode code = impl::EErrorCode::eDropped);
impl::HttpResponse Problem(int status, const std::string& name, const std::string& detail = {});
impl::HttpResponse MakeResponse(int status, const std::string& body = {},
                                std::vector<impl::HttpHeader> headers = {});

} // namespace kesdk::test
