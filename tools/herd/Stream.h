// A TLS connection over TCP.
#pragma once

#include "tools/herd/Async.h"
#include "tools/herd/ClientContext.h"

#include <boost/asio/ip/tcp.hpp>

#include <stdexcept>
#include <string_view>

namespace herd {

/** The connection is lost or was never made. what() is a reason that many failures share. */
class LinkError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/**
 * OpenSSL reads and writes the descriptor itself and frees its buffers while the connection is
 * idle. Errors: LinkError. One operation at a time.
 */
class Stream
{
public:
    explicit Stream(asio::any_io_executor executor) : socket_(std::move(executor)) {}

    Async<void> connect(const asio::ip::tcp::endpoint& endpoint, ssl_ctx_st* context,
                        const std::string& host);

    /** Returns at least one byte, or nothing at the end. Valid until the next co_await. */
    Async<std::string_view> read();
    Async<void> write(std::string_view bytes);

    /** Ends the connection with a reset: a running operation fails, and no port stays in use. */
    void abort();

    bool isOpen() const { return socket_.is_open(); }

private:
    template <class Operation>
    Async<int> drive(Operation operation);

    asio::ip::tcp::socket socket_;
    TlsConnection tls_;
};

} // namespace herd
