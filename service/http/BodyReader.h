// The body of a request, read piece by piece by the handler.
#pragma once

#include "service/http/Limits.h"
#include "service/http/RequestHead.h"
#include "service/http/StallTimeout.h"
#include "service/http/Transport.h"

#include <string>

namespace kelvo::http {

/**
 * Reads as many bytes as Content-Length says: first the bytes received with the head, then bytes
 * from the transport. Thread: the connection's. Ownership: lives as long as its request.
 */
class BodyReader
{
public:
    /**
     * `early` holds the bytes received after the head. The reader removes the body's bytes from it.
     */
    BodyReader(Transport& transport, const Limits& limits, const RequestHead& head,
               std::string& early);

    std::uint64_t lengthBytes() const { return lengthBytes_; }
    std::uint64_t remainingBytes() const { return remainingBytes_; }

    /** Whether the peer waits for "100 Continue" before it sends the body, and has not got it. */
    bool awaitsContinue() const { return awaitsContinue_; }

    /**
     * Reads at least one byte; no byte and no error at the end. Errors: the peer stalls, sends too
     * slowly or leaves. Only the wait for the peer counts, not the caller's time between two reads.
     */
    Async<IoResult> readSome(asio::mutable_buffer buffer);

    /** Reads until the buffer is full, the body ends or there is an error. */
    Async<IoResult> fill(asio::mutable_buffer buffer);

    /** Reads the whole body. Throws Problem (content-too-large) or PeerGone. */
    Async<std::string> readAll(std::size_t limitBytes);

    /** The rest of the body must arrive within this time, however large it is. */
    void setDeadline(std::chrono::milliseconds total) { stallTimeout_.endAfter(total); }

    /**
     * Ends the present read and later reads with an error, because another request takes over.
     * Bytes that have arrived are still read, but no read waits.
     */
    void abandon();

    asio::any_io_executor executor() { return transport_.executor(); }

private:
    Async<IoResult> readFromPeer(asio::mutable_buffer buffer);
    void count(std::size_t bytes);

    Transport& transport_;
    const Limits& limits_;
    StallTimeout stallTimeout_;
    std::string& early_;
    std::uint64_t lengthBytes_;
    std::uint64_t remainingBytes_;
    bool awaitsContinue_;
    std::uint64_t mayStillRead_; // bounds the work for an abandoned body whose peer keeps sending
};

} // namespace kelvo::http
