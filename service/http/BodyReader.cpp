// The body of a request, read piece by piece.
#include "service/http/BodyReader.h"

#include "service/http/Problem.h"

#include <algorithm>
#include <cstring>

namespace kelvo::http {

BodyReader::BodyReader(Transport& transport, const Limits& limits, const RequestHead& head,
                       std::string& early)
    : transport_(transport),
      limits_(limits),
      early_(early),
      lengthBytes_(head.contentLength.value_or(0)),
      remainingBytes_(lengthBytes_),
      awaitsContinue_(head.expectsContinue && lengthBytes_ > 0 && early.empty())
{}

Async<IoResult> BodyReader::readSome(asio::mutable_buffer buffer)
{
    const std::size_t wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), remainingBytes_));
    if (wanted == 0) {
        co_return IoResult{};
    }
    if (abandoned_) {
        co_return IoResult{0, asio::error::operation_aborted};
    }
    if (!early_.empty()) {
        const std::size_t taken = std::min(wanted, early_.size());
        std::memcpy(buffer.data(), early_.data(), taken);
        early_.erase(0, taken);
        remainingBytes_ -= taken;
        co_return IoResult{taken, {}};
    }
    transport_.expireAfter(limits_.bodyStall);
    if (awaitsContinue_) {
        awaitsContinue_ = false;
        static constexpr std::string_view goAhead = "HTTP/1.1 100 Continue\r\n\r\n";
        const auto failed = co_await transport_.write(asio::buffer(goAhead));
        if (failed) {
            co_return IoResult{0, failed};
        }
    }
    const IoResult result = co_await transport_.readSome(asio::buffer(buffer.data(), wanted));
    remainingBytes_ -= result.bytes;
    transport_.neverExpire(); // the handler may take its time; the next read starts anew
    co_return result;
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
    abandoned_ = true;
    transport_.interrupt();
}

Async<std::string> BodyReader::readAll(std::size_t limitBytes)
{
    if (remainingBytes_ > limitBytes) {
        throw Problem(EProblem::ContentTooLarge, "The body is larger than this request may have.");
    }
    std::string body(static_cast<std::size_t>(remainingBytes_), '\0');
    const IoResult result = co_await fill(asio::buffer(body));
    if (result.bytes != body.size()) {
        throw PeerGone();
    }
    co_return body;
}

} // namespace kelvo::http
