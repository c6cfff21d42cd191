// The body of a request, read piece by piece by whoever handles it.
#pragma once

#include "service/http/Limits.h"
#include "service/http/Patience.h"
#include "service/http/RequestHead.h"
#include "service/http/Transport.h"

#include <string>

namespace kelvo::http {

/**
 * Reads what Content-Length announced: first what came with the head, then from the transport.
 * Thread: the connection's. Ownership: lives as long as its request.
 */
class BodyReader
{
public:
    /** `early` holds what was received after the head; the bytes of the body are taken out of it.
     */
    BodyReader(Transport& transport, const Limits& limits, const RequestHead& head,
               std::string& early);

    std::uint64_t lengthBytes() const { return lengthBytes_; }
    std::uint64_t remainingBytes() const { return remainingBytes_; }

    /** The peer waits for a go-ahead before it sends the body, and has not had it. */
    bool awaitsContinue() const { return awaitsContinue_; }

    /** At least one byte; none and no error at the end. Errors when the peer stalls, sends next to
     * nothing or goes away. Only the waiting counts, not what the caller does between two reads. */
    Async<IoResult> readSome(asio::mutable_buffer buffer);

    /** Reads until the buffer is full, the body ends or there is an error. */
    Async<IoResult> fill(asio::mutable_buffer buffer);

    /** The whole body. Throws Problem (content-too-large) or PeerGone. */
    Async<std::string> readAll(std::size_t limitBytes);

    /** From now on what is still to come must come within this time, however much it is. */
    void hurry(std::chrono::milliseconds total) { patience_.end(total); }

    /**
     * Ends the reading, present and future, with an error: somebody else takes over. What has
     * arrived is still read, but nothing is waited for.
     */
    void abandon();

    asio::any_io_executor executor() { return transport_.executor(); }

private:
    Async<IoResult> readFromPeer(asio::mutable_buffer buffer);
    void count(std::size_t bytes);

    Transport& transport_;
    const Limits& limits_;
    Patience patience_;
    std::string& early_;
    std::uint64_t lengthBytes_;
    std::uint64_t remainingBytes_;
    bool awaitsContinue_;
    std::uint64_t
        mayStillRead_; // a peer that sends and sends must not keep an abandoned reader busy
};

} // namespace kelvo::http
