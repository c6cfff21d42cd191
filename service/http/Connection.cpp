// How a connection reads a request and writes its answer.
#include "service/http/Connection.h"

#include "service/base/Clock.h"
#include "service/base/Time.h"
#include "service/http/Problem.h"

#include <array>

namespace kelvo::http {

namespace {

constexpr std::size_t readChunkBytes = 4096;
constexpr std::size_t sendChunkBytes = 256 * 1024;

bool hasNoBody(unsigned status)
{
    return status == 204 || status == 304;
}

/** The problem of a head that is not complete. */
EProblem problemOf(EHeadState state)
{
    switch (state) {
    case EHeadState::TooLarge:
        return EProblem::HeadersTooLarge;
    case EHeadState::LineTooLong:
        return EProblem::UriTooLong;
    case EHeadState::OtherVersion:
        return EProblem::VersionNotSupported;
    case EHeadState::OtherCoding:
        return EProblem::NotImplemented;
    case EHeadState::Malformed:
    case EHeadState::Empty:
    case EHeadState::Incomplete:
    case EHeadState::Complete:
        break;
    }
    return EProblem::MalformedRequest;
}

/** `connection`: the value of the header Connection; empty: none. */
std::string headText(const Response& response, std::string_view connection)
{
    std::string text = "HTTP/1.1 " + std::to_string(response.status) + " ";
    text += reasonPhrase(response.status);
    text += "\r\nDate: " + httpDate(SystemClock().nowMs()) + "\r\n";
    for (const auto& [name, value] : response.headers) {
        text += name;
        text += ": ";
        text += value;
        text += "\r\n";
    }
    if (!hasNoBody(response.status) && !response.stream) {
        const std::uint64_t length =
            response.source ? response.source->sizeBytes() : response.body.size();
        text += "Content-Length: " + std::to_string(length) + "\r\n";
    }
    if (!connection.empty()) {
        text += "Connection: ";
        text += connection;
        text += "\r\n";
    }
    return text + "\r\n";
}

} // namespace

Connection::Connection(std::unique_ptr<Transport> transport, Application& application,
                       const Limits& limits, PeerCounts* peers)
    : transport_(std::move(transport)), application_(application), limits_(limits), peers_(peers)
{}

Async<std::optional<RequestHead>> Connection::readHead()
{
    HeadParser parser(limits_.headBytes);
    transport_->expireAfterSent(limits_.idleTime);
    state_ = EState::Idle;
    for (;;) {
        const EHeadState parsed = parser.feed(received_);
        if (state_ == EState::Idle && parsed != EHeadState::Empty) {
            if (ticket_ && !ticket_->beginHead()) {
                co_return std::nullopt;
            }
            transport_->expireAfter(limits_.headTime);
            state_ = EState::Busy;
        }
        if (parsed == EHeadState::Complete) {
            if (ticket_) {
                ticket_->endHead();
            }
            co_return parser.take();
        }
        if (parsed != EHeadState::Incomplete && parsed != EHeadState::Empty) {
            co_await refuseHead(parsed);
            co_return std::nullopt;
        }
        const std::size_t had = received_.size();
        received_.resize(had + readChunkBytes);
        auto buffer = asio::buffer(received_.data() + had, readChunkBytes);
        const IoResult result = co_await transport_->readSome(buffer);
        received_.resize(had + result.bytes);
        if (result.bytes == 0) {
            if (state_ == EState::Busy && transport_->expired()) { // the head began
                application_.requestBegun();
                application_.requestDone({"other", "unmatched", 408});
            }
            co_return std::nullopt;
        }
    }
}

Async<void> Connection::refuseHead(EHeadState state)
{
    const Response response = Problem(problemOf(state)).toResponse();
    application_.requestBegun();
    RequestSummary summary{"other", "unmatched", response.status, received_.size()};
    const std::string text = headText(response, "close") + response.body;
    transport_->expectProgress(limits_.headTime, limits_.bodyProgressBytes);
    co_await transport_->write(asio::buffer(text));
    summary.sentBytes = text.size();
    application_.requestDone(summary);
    peerMayBeSending_ = true;
}

bool Connection::mayStayOpen(const Request& request, const Response& response)
{
    const std::uint64_t unread = request.body.remainingBytes();
    if (unread == 0 && !stopping_) {
        transport_->waitAgain(); // abandon() came after the whole body had arrived
    }
    // A large unread body closes the connection.
    const bool drop = unread > limits_.drainBytes ||
                      (unread > 0 && (request.body.awaitsContinue() || !transport_->waits()));
    return request.head.keepAlive && !response.closeAfter && !response.stream && !stopping_ &&
           !retired_ && !drop;
}

Async<bool> Connection::answer(Request& request, Response& response)
{
    const bool keepAlive = mayStayOpen(request, response);
    peerMayBeSending_ = request.body.remainingBytes() > 0 && !keepAlive;
    if (request.head.method == "HEAD" && !request.head.isHeadLine) {
        response.body.clear(); // the peer reads as many bytes as Content-Length says
        response.source.reset();
    }
    const bool bodiless = request.head.isHeadLine || hasNoBody(response.status);
    // HTTP/1.0 closes unless the answer says otherwise, HTTP/1.1 stays open.
    const std::string_view staysOpen = request.head.isHttp10 ? "keep-alive" : "";
    std::string text = headText(response, keepAlive ? staysOpen : "close");
    if (!bodiless && !response.source) {
        text += response.body;
    }
    state_ = EState::Sending;
    expectProgress();
    const auto failed = co_await transport_->write(asio::buffer(text));
    if (failed) {
        co_return false;
    }
    if (response.stream && !bodiless) {
        co_await stream(response);
        co_return false;
    }
    if (response.source && !bodiless) {
        const bool sent = co_await sendBody(*response.source);
        if (!sent) {
            transport_
                ->abort(); // a cut is the only way left to tell that the content is incomplete
            co_return false;
        }
    }
    state_ = EState::Busy;
    if (!keepAlive) {
        co_return false;
    }
    co_return co_await drainBody(request.body);
}

Async<void> Connection::stream(Response& response)
{
    received_ = std::string(); // an open stream needs no buffer
    state_ = EState::Streaming;
    if (!stopping_) {
        co_await response.stream(*transport_);
        state_ = EState::Busy;
    }
}

void Connection::expectProgress()
{
    const auto stall = isTrustedProxy_ ? limits_.proxyStall : limits_.bodyStall;
    transport_->expectProgress(stopping_ ? limits_.stopStall : stall, limits_.bodyProgressBytes);
}

Async<bool> Connection::sendBody(BodySource& source)
{
    const auto buffer = std::make_unique<char[]>(sendChunkBytes);
    for (std::uint64_t left = source.sizeBytes(); left > 0;) {
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(left, sendChunkBytes));
        const std::size_t got = co_await source.read(asio::buffer(buffer.get(), wanted));
        if (got == 0) {
            co_return false;
        }
        const auto failed = co_await transport_->write(asio::buffer(buffer.get(), got));
        if (failed) {
            co_return false;
        }
        left -= got;
    }
    co_return true;
}

Async<bool> Connection::drainBody(BodyReader& body)
{
    std::array<char, 4096> scratch;
    body.setDeadline(limits_.jsonTime);
    while (body.remainingBytes() > 0) {
        const IoResult result = co_await body.readSome(asio::buffer(scratch));
        if (result.bytes == 0) {
            co_return false;
        }
    }
    co_return true;
}

Async<void> Connection::linger()
{
    // Closing with unread data resets the connection. Then the peer may lose our answer. After a
    // close, the kernel drops the rest of the answer if the peer pauses for some minutes.
    std::array<char, 4096> scratch;
    state_ = EState::Idle;
    for (IoResult result; !result.error;) {
        result = co_await transport_->readSome(asio::buffer(scratch));
        if (result.bytes > 0 && !peerMayBeSending_) {
            peerMayBeSending_ = true;
            transport_->expireAfterSent(limits_.lingerTime);
        }
    }
}

} // namespace kelvo::http
