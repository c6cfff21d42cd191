#include "tools/herd/Link.h"

#include <boost/asio/steady_timer.hpp>

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace herd {

namespace {

constexpr std::chrono::seconds connectLimit{10};
constexpr std::chrono::seconds handshakeLimit{30};

} // namespace

Link::Link(Network& network, bool yields)
    : network_(network), yields_(yields), stream_(network.io.get_executor())
{
    network_.links.insert(this);
}

Link::~Link()
{
    network_.links.erase(this);
}

Async<Answer> Link::exchange(const Server& server, const Request& request, const std::string& token)
{
    abortReason_ = nullptr;
    for (;;) {
        const bool isKept = stream_.isOpen() && server_ == &server;
        std::string failure;
        try {
            co_return co_await attempt(server, request, token);
        } catch (const boost::system::system_error& error) {
            failure = error.code().message();
        } catch (const std::runtime_error& error) {
            failure = error.what();
        }
        close();
        deadline_ = Clock::time_point::max();
        if (abortReason_ != nullptr) {
            throw LinkError(abortReason_);
        }
        if (!isKept || hasAnswer_) {
            throw LinkError(failure);
        }
    }
}

void Link::close()
{
    stream_.abort();
    network_.connections -= std::exchange(isCounted_, false) ? 1 : 0;
}

void Link::abort(const char* reason)
{
    abortReason_ = reason;
    close();
}

void Link::expire(Clock::time_point now)
{
    if (now >= deadline_) {
        deadline_ = Clock::time_point::max();
        abort("no answer in time");
    }
}

Async<Answer> Link::attempt(const Server& server, const Request& request, const std::string& token)
{
    hasAnswer_ = false;
    if (!stream_.isOpen() || server_ != &server) {
        co_await connect(server);
    }
    std::optional<LinkError> notSent;
    try {
        co_await send(server, request, token);
    } catch (const LinkError& error) {
        notSent = error; // the service may have refused the body and answered
    }
    std::optional<Answer> answer;
    try {
        answer = co_await receive(request);
    } catch (const std::runtime_error&) {
        if (!notSent) {
            throw;
        }
    }
    deadline_ = Clock::time_point::max();
    if (!answer) {
        throw *notSent;
    }
    if (notSent) {
        close();
    }
    co_return std::move(*answer);
}

Async<void> Link::connect(const Server& server)
{
    const Clock::time_point begin = Clock::now();
    close();
    server_ = &server;
    for (const auto& endpoint : server.endpoints) {
        const bool isLast = &endpoint == &server.endpoints.back();
        limit(connectLimit + handshakeLimit);
        try {
            co_await stream_.connect(endpoint, network_.tls.get(), server.host);
            isCounted_ = true;
            ++network_.connections;
            network_.figures.succeed(EKind::Connect, Clock::now() - begin);
            co_return;
        } catch (const boost::system::system_error&) {
            if (isLast || abortReason_ != nullptr) {
                throw;
            }
        }
    }
}

Async<void> Link::send(const Server& server, const Request& request, const std::string& token)
{
    limit(request.silence);
    co_await stream_.write(toText(request, server.address, token));
    if (request.part) {
        co_await sendPart(request);
    }
}

Async<void> Link::sendPart(const Request& request)
{
    std::array<char, 16384> buffer;
    const std::uint64_t rate = request.partBytesPerSecond;
    const std::size_t piece =
        rate > 0 ? std::clamp<std::size_t>(rate / 4, 1, buffer.size()) : buffer.size();
    std::uint64_t offset = request.part->offset;
    asio::steady_timer pause(network_.io);
    while (const std::size_t size =
               request.part->content->read(offset, std::span(buffer).first(piece))) {
        limit(request.silence);
        co_await stream_.write({buffer.data(), size});
        offset += size;
        if (rate > 0) {
            pause.expires_after(std::chrono::microseconds(size * 1'000'000 / rate));
            co_await pause.async_wait(asio::use_awaitable);
        }
    }
}

Async<Answer> Link::receive(const Request& request)
{
    AnswerReader reader(request);
    while (!reader.isWhole()) {
        limit(request.silence);
        const std::string_view bytes = co_await stream_.read();
        hasAnswer_ = hasAnswer_ || !bytes.empty();
        if (bytes.empty()) {
            reader.takeEnd();
        } else {
            reader.take(bytes);
        }
    }
    const bool isTooMany = yields_ && network_.connections > network_.keptConnections;
    if (!reader.keepsAlive() || isTooMany) {
        close();
    }
    co_return reader.answer();
}

} // namespace herd
