#include "tools/herd/Stream.h"

#include <openssl/err.h>
#include <openssl/ssl.h>

#include <array>
#include <cerrno>

namespace herd {

using asio::ip::tcp;
using boost::system::error_code;

/** Repeats the operation until OpenSSL no longer waits for the socket. Returns 0 at the end. */
template <class Operation>
Async<int> Stream::drive(Operation operation)
{
    for (;;) {
        if (!socket_.is_open()) {
            throw LinkError("the connection is closed");
        }
        ERR_clear_error();
        errno = 0;
        const int done = operation();
        if (done > 0) {
            co_return done;
        }
        const int why = SSL_get_error(tls_.get(), done);
        if (why == SSL_ERROR_ZERO_RETURN) {
            co_return 0;
        }
        if (why == SSL_ERROR_SYSCALL && errno != 0) {
            throw LinkError(error_code(errno, boost::system::system_category()).message());
        }
        if (why != SSL_ERROR_WANT_READ && why != SSL_ERROR_WANT_WRITE) {
            throw LinkError(tlsFailure(tls_.get()));
        }
        co_await socket_.async_wait(why == SSL_ERROR_WANT_READ ? tcp::socket::wait_read
                                                               : tcp::socket::wait_write,
                                    asio::use_awaitable);
    }
}

Async<void> Stream::connect(const tcp::endpoint& endpoint, ssl_ctx_st* context,
                            const std::string& host)
{
    socket_.close();
    co_await socket_.async_connect(endpoint, asio::use_awaitable);
    socket_.non_blocking(true);
    socket_.set_option(tcp::no_delay(true));
    tls_ = makeTlsConnection(context, host, socket_.native_handle());
    if (co_await drive([this] { return SSL_do_handshake(tls_.get()); }) == 0) {
        throw LinkError("the service ended the TLS handshake");
    }
}

Async<std::string_view> Stream::read()
{
    // All connections read into one buffer, because the herd has one thread and keeps no bytes.
    static std::array<char, 16384> buffer;
    const int got = co_await drive(
        [this] { return SSL_read(tls_.get(), buffer.data(), static_cast<int>(buffer.size())); });
    // A session ticket makes OpenSSL allocate a buffer for an answer, and nothing else frees it.
    SSL_free_buffers(tls_.get());
    co_return std::string_view(buffer.data(), static_cast<std::size_t>(got));
}

Async<void> Stream::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        const int sent = co_await drive([this, bytes] {
            return SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()));
        });
        if (sent == 0) {
            throw LinkError("the service has ended the connection");
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
}

void Stream::abort()
{
    error_code ignored;
    socket_.set_option(asio::socket_base::linger(true, 0), ignored);
    socket_.close(ignored);
    tls_.reset();
}

} // namespace herd
