// A connected peer: bytes in, bytes out, deadlines. The seam between HTTP and sockets.
#pragma once

#include "service/base/Async.h"
#include "service/http/Patience.h"

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
    boost::system::error_code error; // with bytes > 0 the bytes are good; end of stream is an error
};

/**
 * One peer over TCP; the base class is the plain one, TlsTransport encrypts.
 * Thread: all calls on the executor's one thread.
 * Errors: returned, never thrown. After expiry or abort() every operation fails.
 */
class Transport
{
public:
    explicit Transport(asio::ip::tcp::socket socket);
    virtual ~Transport();
    Transport(const Transport&) = delete;
    Transport& operator=(const Transport&) = delete;

    virtual Async<boost::system::error_code> handshake();

    /** At least one byte unless there is an error; as much as is there without waiting. */
    virtual Async<IoResult> readSome(asio::mutable_buffer buffer);

    /** All of it or an error. */
    virtual Async<boost::system::error_code> write(asio::const_buffer buffer);

    /** Says goodbye and ends the sending side; the peer may still be sending. */
    virtual Async<void> shutdownSend();

    /**
     * From now on reading yields what is there already and then fails. Operations under way fail;
     * the connection stays open for a goodbye.
     */
    void stopWaiting();
    /** Waits again: what it was stopped for has come to its end without waiting. */
    void waitAgain() { waits_ = true; }
    bool waits() const { return waits_; }

    /** Closes at once; pending operations fail. */
    void abort();

    /** Operations fail once this much time has passed. */
    void expireAfter(std::chrono::milliseconds limit);
    /** The same, but the time begins anew whenever it is over and the peer has taken so many bytes
     * in it, or everything there was. What its side acknowledges counts, not what ours still holds.
     */
    void expectProgress(std::chrono::milliseconds limit, std::uint64_t bytes);
    void neverExpire();
    bool expired() const { return expired_; }

    std::uint64_t sentBytes() const { return sentBytes_; }
    std::string peerAddress() const;
    asio::any_io_executor executor() { return socket_.get_executor(); }

protected:
    Async<boost::system::error_code> waitReadable();
    Async<boost::system::error_code> waitWritable();
    void countSent(std::size_t bytes) { sentBytes_ += bytes; }
    /** What has been written to the socket in all. */
    virtual std::uint64_t wireBytes() const { return sentBytes_; }

    asio::ip::tcp::socket socket_;

private:
    struct Deadline;

    std::uint64_t queuedBytes();
    bool goesOn();

    std::shared_ptr<Deadline> deadline_;
    std::optional<Patience> patience_; // while progress is expected
    std::uint64_t takenBytes_ = 0;     // by the peer, when it was looked at last
    std::uint64_t sentBytes_ = 0;
    bool expired_ = false;
    bool waits_ = true; // whether reading waits for more
};

} // namespace kelvo::http
