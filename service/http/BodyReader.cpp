#include "service/http/BodyReader.h"

#include "service/http/Problem.h"

#include <algorithm>
#include <cstring>

namespace kelvo::http {

using Steady = std::chrono::steady_clock;

namespace {

constexpr std::uint64_t readAfterAbandoned = 1024 * 1024;
constexpr std::size_t rawChunkBytes = 16 * 1024;

std::optional<std::uint64_t> lengthOf(const RequestHead& head)
{
    return head.isChunked ? std::nullopt : std::optional(head.contentLength.value_or(0));
}

} // namespace

BodyReader::BodyReader(Transport& transport, const Limits& limits, const RequestHead& head,
                       std::string& early)
    : transport_(transport),
      limits_(limits),
      stallTimeout_(limits.bodyStall, limits.bodyProgressBytes),
      early_(early),
      lengthBytes_(lengthOf(head)),
      remainingBytes_(lengthBytes_.value_or(unknown)),
      isPresent_(remainingBytes_ > 0),
      awaitsContinue_(head.expectsContinue && isPresent_ && early.empty()),
      mayStillRead_(remainingBytes_)
{
    if (head.isChunked) {
        chunks_.emplace();
    }
}

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
    const auto part = asio::buffer(buffer.data(), wanted);
    IoResult result;
    if (chunks_) {
        result = co_await readChunked(part);
    } else {
        result = co_await readPlain(part);
    }
    count(result.bytes);
    co_return result;
}

Async<IoResult> BodyReader::readPlain(asio::mutable_buffer buffer)
{
    if (early_.empty()) {
        co_return co_await readFromPeer(buffer);
    }
    const std::size_t taken = std::min(buffer.size(), early_.size());
    std::memcpy(buffer.data(), early_.data(), taken);
    early_.erase(0, taken);
    co_return IoResult{taken, {}};
}

Async<IoResult> BodyReader::readChunked(asio::mutable_buffer buffer)
{
    char beyond = 0; // a byte beyond the limit, or no byte before the end
    const std::uint64_t room = limitBytes_ - std::min(limitBytes_, receivedBytes_);
    const auto part =
        room == 0
            ? asio::buffer(&beyond, 1)
            : asio::buffer(buffer.data(),
                           static_cast<std::size_t>(std::min<std::uint64_t>(room, buffer.size())));
    for (;;) {
        const ChunkDecoder::Piece piece = chunks_->decode(early_, part);
        if (room == 0 && piece.bytes > 0) {
            co_return fail(EFailure::TooLong);
        }
        if (piece.isMalformed && piece.bytes == 0) {
            co_return fail(EFailure::Malformed);
        }
        if (piece.isLast) {
            remainingBytes_ = piece.bytes; // readSome() counts them
        }
        if (piece.isLast || piece.bytes > 0) {
            co_return IoResult{piece.bytes, {}};
        }
        early_.resize(rawChunkBytes); // the decoder used all bytes
        const IoResult raw = co_await readFromPeer(asio::buffer(early_));
        early_.resize(raw.bytes);
        if (raw.bytes == 0) {
            co_return raw;
        }
    }
}

/** Waits for the peer, within the stall timeout. */
Async<IoResult> BodyReader::readFromPeer(asio::mutable_buffer buffer)
{
    const auto start = Steady::now();
    IoResult result;
    transport_.expireAfter(stallTimeout_.left());
    if (awaitsContinue_) {
        awaitsContinue_ = false;
        static constexpr std::string_view goAhead = "HTTP/1.1 100 Continue\r\n\r\n";
        result.error = co_await transport_.write(asio::buffer(goAhead));
    }
    if (!result.error) {
        result = co_await transport_.readSome(buffer);
    }
    transport_.neverExpire(); // the time of the handler does not count
    stallTimeout_.count(std::chrono::ceil<std::chrono::milliseconds>(Steady::now() - start),
                        result.bytes);
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
    isAbandoned_ = true;
    if (abandoned_) {
        abandoned_();
    }
    if (remainingBytes_ == 0) {
        return; // nothing to stop; the connection may serve more requests
    }
    mayStillRead_ = std::min(mayStillRead_, readAfterAbandoned);
    transport_.stopWaiting();
}

IoResult BodyReader::fail(EFailure failure)
{
    failure_ = failure;
    mayStillRead_ = 0;
    return {0, boost::system::errc::make_error_code(boost::system::errc::bad_message)};
}

void BodyReader::count(std::size_t bytes)
{
    receivedBytes_ += bytes;
    if (remainingBytes_ != unknown) {
        remainingBytes_ -= bytes;
    }
    if (mayStillRead_ != unknown) {
        mayStillRead_ -= std::min<std::uint64_t>(bytes, mayStillRead_);
    }
}

Async<std::string> BodyReader::readAll(std::size_t limitBytes)
{
    if (lengthBytes_.value_or(0) > limitBytes) {
        throw Problem(EProblem::ContentTooLarge, "The body is too large for this request.");
    }
    setDeadline(limits_.jsonTime);
    limit(limitBytes);
    // One byte more: a chunked body of the limit's size ends after its last byte.
    std::string body(
        static_cast<std::size_t>(std::min<std::uint64_t>(remainingBytes_, limitBytes + 1)), '\0');
    const IoResult result = co_await fill(asio::buffer(body));
    if (remainingBytes_ > 0) {
        throwFailure();
    }
    body.resize(result.bytes);
    co_return body;
}

void BodyReader::throwFailure() const
{
    switch (failure_) {
    case EFailure::Malformed:
        throw Problem(EProblem::MalformedRequest, "The chunks of the body are malformed.");
    case EFailure::TooLong:
        throw Problem(EProblem::ContentTooLarge, "The body is too large for this request.");
    case EFailure::PeerGone:
        break;
    }
    throw PeerGone();
}

} // namespace kelvo::http
