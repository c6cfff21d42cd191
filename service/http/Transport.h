// The connection to a peer: reads, writes, deadlines. The seam between HTTP and sockets.
#pragma once

#include "service/base/Async.h"
#include "service/http/StallTimeout.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace kelvo::http {

struct IoResult
{
    std::size_t bytes = 0;
    boost::system::error_code
        error; // with bytes > 0 the bytes are valid; the end of the stream is an error
};

/**
 * One peer over TCP. The base class does not encrypt; TlsTransport does. Thread: all calls on the
 * executor's one thread. Errors: returned, never thrown. After the deadline or abort() every
 * operation fails.
 */
class Transport
{
public:
    explicit Transport(asio::ip::tcp::socket socket);
    virtual ~Transport();
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;

    /**
     * Reads a header of the PROXY protocol, before the handshake. Takes no byte that follows it.
     */
    Async<boost::system::error_code> readProxyHeader();

    /** Sets the deadline to `limit` when the peer's first bytes arrive. */
    virtual Async<boost::system::error_code> handshake(std::chrono::milliseconds limit);

    /**
     * Reads at least one byte unless there is an error, then all bytes available without waiting.
     */
    virtual Async<IoResult> readSome(asio::mutable_buffer buffer);

    /** Writes all bytes, or returns an error. */
    virtual Async<boost::system::error_code> write(asio::const_buffer buffer);

    /** Ends the sending side; the peer may still send. TLS sends its close_notify first. */
    virtual Async<void> shutdownSend();

    /**
     * Reads no longer wait: they return the bytes that are available, then fail. A read or write
     * that waits fails. The connection stays open for a last answer.
     */
    void stopWaiting();
    /** Reads wait again. Called if the read was finished before stopWaiting() had an effect. */
    void waitAgain() { waits_ = true; }
    bool waits() const { return waits_; }

    /** Closes at once; pending operations fail. */
    void abort();

    /** Operations fail after this time. */
    void expireAfter(std::chrono::milliseconds limit);
    /**
     * As expireAfter(), but the time restarts each time it ends if the peer has acknowledged
     * `bytes` meanwhile, or everything written. Bytes in our own send buffer do not count.
     */
    void expectProgress(std::chrono::milliseconds limit, std::uint64_t bytes);
    /**
     * As expireAfter(), but the time begins when the peer has acknowledged everything written.
     * Until then the limit of expectProgress() stays.
     */
    void expireAfterSent(std::chrono::milliseconds limit);
    void neverExpire();
    bool expired() const { return expired_; }

    std::uint64_t sentBytes() const { return sentBytes_; }
    /** Bytes that were written and that the peer has not acknowledged. */
    std::uint64_t queuedBytes();
    /** The address of the peer, or of the client that readProxyHeader() has read. */
    const std::string& peerAddress() const { return peerAddress_; }
    asio::any_io_executor executor() { return socket_.get_executor(); }

protected:
    Async<boost::system::error_code> waitReadable();
    Async<boost::system::error_code> waitWritable();
    void countSent(std::size_t bytes) { sentBytes_ += bytes; }
    /** All bytes written to the socket. */
    virtual std::uint64_t wireBytes() const { return sentBytes_; }

    asio::ip::tcp::socket socket_;

private:
    struct Deadline;

    bool extendDeadline();
    void checkProgressAfter(std::chrono::milliseconds pause);

    std::string peerAddress_;
    std::shared_ptr<Deadline> deadline_;
    std::optional<StallTimeout> stallTimeout_; // while progress is expected
    std::optional<std::chrono::milliseconds> limitAfterSent_;
    std::chrono::milliseconds checkPause_{0};
    std::uint64_t takenBytes_ = 0; // bytes acknowledged by the peer at the last check
    std::uint64_t sentBytes_ = 0;
    bool expired_ = false;
    bool waits_ = true; // whether a read waits for more bytes
};

} // namespace kelvo::http
