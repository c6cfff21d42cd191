// The body of a request, read piece by piece by the handler.
#pragma once

#include "service/http/ChunkDecoder.h"
#include "service/http/Limits.h"
#include "service/http/RequestHead.h"
#include "service/http/StallTimeout.h"
#include "service/http/Transport.h"

#include <functional>
#include <limits>
#include <optional>
#include <string>

namespace kelvo::http {

/**
 * Reads as many bytes as Content-Length says, or until the last chunk: first the bytes received
 * with the head, then bytes from the transport. Thread: the connection's. Ownership: lives as long
 * as its request.
 */
class BodyReader
{
public:
    /**
     * `early` holds the bytes received after the head. The reader removes the body's bytes from it.
     */
    BodyReader(Transport& transport, const Limits& limits, const RequestHead& head,
               std::string& early);

    /** False: the request has no body. A chunked body can turn out to be empty. */
    bool isPresent() const { return isPresent_; }

    /** Empty if the body is chunked. */
    std::optional<std::uint64_t> lengthBytes() const { return lengthBytes_; }

    /** The largest number while the end of a chunked body is not read. */
    std::uint64_t remainingBytes() const { return remainingBytes_; }

    std::uint64_t receivedBytes() const { return receivedBytes_; }

    /** Whether the peer waits for "100 Continue" before it sends the body, and has not got it. */
    bool awaitsContinue() const { return awaitsContinue_; }

    /** A chunked body with more bytes than this, in all, ends with an error. */
    void limit(std::uint64_t bytes) { limitBytes_ = bytes; }

    /**
     * Reads at least one byte; no byte and no error at the end. Errors: the peer stalls, sends too
     * slowly or leaves, or a chunked body is malformed or too long. Only the wait for the peer
     * counts, not the caller's time between two reads.
     */
    Async<IoResult> readSome(asio::mutable_buffer buffer);

    /** Reads until the buffer is full, the body ends or there is an error. */
    Async<IoResult> fill(asio::mutable_buffer buffer);

    /** Reads the whole body. Throws Problem (content-too-large, malformed-request) or PeerGone. */
    Async<std::string> readAll(std::size_t limitBytes);

    /** After a failed read: throws Problem (content-too-large, malformed-request) or PeerGone. */
    [[noreturn]] void throwFailure() const;

    /** The rest of the body must arrive within this time, however large it is. */
    void setDeadline(std::chrono::milliseconds total) { stallTimeout_.endAfter(total); }

    /**
     * Ends the present read and later reads with an error, because another request takes over.
     * Bytes that have arrived are still read, but no read waits.
     */
    void abandon();

    bool isAbandoned() const { return isAbandoned_; }

    /** abandon() also calls this function: the handler may wait for something else than the body.
     */
    void onAbandon(std::function<void()> abandoned) { abandoned_ = std::move(abandoned); }

    asio::any_io_executor executor() { return transport_.executor(); }

private:
    enum class EFailure : std::uint8_t { PeerGone, Malformed, TooLong };

    Async<IoResult> readPlain(asio::mutable_buffer buffer);
    Async<IoResult> readChunked(asio::mutable_buffer buffer);
    Async<IoResult> readFromPeer(asio::mutable_buffer buffer);
    IoResult fail(EFailure failure);
    void count(std::size_t bytes);

    static constexpr std::uint64_t unknown = std::numeric_limits<std::uint64_t>::max();

    Transport& transport_;
    const Limits& limits_;
    StallTimeout stallTimeout_;
    std::string& early_;
    std::optional<std::uint64_t> lengthBytes_;
    std::uint64_t remainingBytes_;
    std::uint64_t receivedBytes_ = 0;
    std::uint64_t limitBytes_ = unknown;
    bool isPresent_;
    bool awaitsContinue_;
    std::uint64_t mayStillRead_; // bounds the work for an abandoned body whose peer keeps sending
    std::optional<ChunkDecoder> chunks_;
    EFailure failure_ = EFailure::PeerGone;
    bool isAbandoned_ = false;
    std::function<void()> abandoned_; // empty: none
};

} // namespace kelvo::http
