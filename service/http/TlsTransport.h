// TLS on the socket's descriptor.
#pragma once

#include "service/http/Transport.h"

#include <memory>

struct ssl_st;
struct ssl_ctx_st;

namespace kelvo::http {

/**
 * A thin TLS stream. OpenSSL reads and writes the descriptor itself and frees its buffers while a
 * connection is idle, so thousands of open event streams need little memory. Thread: as Transport.
 * One reader and one writer at a time.
 */
class TlsTransport final : public Transport
{
public:
    /** Increments the context's reference count. */
    TlsTransport(asio::ip::tcp::socket socket, ssl_ctx_st* context);
    ~TlsTransport() override;

    Async<boost::system::error_code> handshake(std::chrono::milliseconds limit) override;
    Async<IoResult> readSome(asio::mutable_buffer buffer) override;
    Async<boost::system::error_code> write(asio::const_buffer buffer) override;
    Async<void> shutdownSend() override;

protected:
    std::uint64_t wireBytes() const override;

private:
    struct Free
    {
        void operator()(ssl_st* ssl) const;
    };

    /**
     * Called after an OpenSSL call without success. Waits for the socket and returns no error, or
     * returns the error at once.
     */
    Async<boost::system::error_code> waitFor(int sslError);

    std::unique_ptr<ssl_st, Free> ssl_;
    bool failed_ = false; // OpenSSL forbids a shutdown after a fatal error
};

} // namespace kelvo::http
