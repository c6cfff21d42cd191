#include "service/http/BodyReader.h"

#include "service/http/Problem.h"

#include <algorithm>
#include <cstring>

namespace kelvo::http {

using Steady = std::chrono::steady_clock;

namespace {

constexpr std::uint64_t readAfterAbandoned = 1024 * 1024;

} // namespace

BodyReader::BodyReader(Transport& transport, const Limits& limits, const RequestHead& head,
                       std::string& early)
    : transport_(transport),
      limits_(limits),
      stallTimeout_(limits.bodyStall, limits.bodyProgressBytes),
      early_(early),
      lengthBytes_(head.contentLength.value_or(0)),
      remainingBytes_(lengthBytes_),
      awaitsContinue_(head.expectsContinue && lengthBytes_ > 0 && early.empty()),
      mayStillRead_(lengthBytes_)
{}

Async<IoResult> BodyReader::readSome(asio::mutable_buffer buffer)
{
    if (buffer.size() == 0 || remainingBytes_ == 0) {
        co_return IoResult{};
    }
    if (mayStillRead_ == 0) {
        co_return IoResult{0, asio::error::operation_aborted};
    }
    const auto wanted = static_cast<std::size_t>(
        std::min<std::uint64_t>({buffer.size(), remainingBytes_, mayStillRead_}));
    if (!early_.empty()) {
        const std::size_t taken = std::min(wanted, early_.size());
        std::memcpy(buffer.data(), early_.data(), taken);
        early_.erase(0, taken);
        count(taken);
        co_return IoResult{taken, {}};
    }
    const auto start = Steady::now();
    const IoResult result = co_await readFromPeer(asio::buffer(buffer.data(), wanted));
    transport_.neverExpire(); // the time of the handler does not count
    count(result.bytes);
    stallTimeout_.count(std::chrono::ceil<std::chrono::milliseconds>(Steady::now() - start),
                        result.bytes);
    co_return result;
}

Async<IoResult> BodyReader::readFromPeer(asio::mutable_buffer buffer)
{
    if (awaitsContinue_) {
        awaitsContinue_ = false;
        static constexpr std::string_view goAhead = "HTTP/1.1 100 Continue\r\n\r\n";
        transport_.expireAfter(stallTimeout_.left());
        const auto failed = co_await transport_.write(asio::buffer(goAhead));
        if (failed) {
            co_return IoResult{0, failed};
        }
    }
    transport_.expireAfter(stallTimeout_.left());
    co_return co_await transport_.readSome(buffer);
}

Async<IoResult> BodyReader::fill(asio::mutable_buffer buffer)
{
    IoResult total;
    while (buffer.size() > 0 && remainingBytes_ > 0 && !total.error) {
        const IoResult piece = co_await readSome(buffer);
        total.bytes += piece.bytes;
        total.error = piece.error;
        buffer += piece.bytes;
    }
    co_return total;
}

void BodyReader::abandon()
{
    if (remainingBytes_ == 0) {
        return; // nothing to stop; the connection may serve more requests
    }
    mayStillRead_ = std::min(mayStillRead_, readAfterAbandoned);
    transport_.stopWaiting();
}

void BodyReader::count(std::size_t bytes)
{
    remainingBytes_ -= bytes;
    mayStillRead_ -= bytes;
}

Async<std::string> BodyReader::readAll(std::size_t limitBytes)
{
    if (remainingBytes_ > limitBytes) {
        throw Problem(EProblem::ContentTooLarge, "The body is too large for this request.");
    }
    setDeadline(limits_.jsonTime);
    std::string body(static_cast<std::size_t>(remainingBytes_), '\0');
    const IoResult result = co_await fill(asio::buffer(body));
    if (result.bytes != body.size()) {
        throw PeerGone();
    }
    co_return body;
}

} // namespace kelvo::http
