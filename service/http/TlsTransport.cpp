#include "service/http/TlsTransport.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

#include <cerrno>

namespace kelvo::http {

using boost::system::error_code;

void TlsTransport::Free::operator()(ssl_st* ssl) const
{
    SSL_free(ssl);
}

TlsTransport::TlsTransport(asio::ip::tcp::socket socket, ssl_ctx_st* context)
    : Transport(std::move(socket)), ssl_(SSL_new(context))
{
    if (ssl_) {
        SSL_set_fd(ssl_.get(), socket_.native_handle());
        SSL_set_accept_state(ssl_.get());
    }
}

TlsTransport::~TlsTransport() = default;

Async<error_code> TlsTransport::waitFor(int sslError)
{
    switch (sslError) {
    case SSL_ERROR_WANT_READ:
        co_return co_await waitReadable();
    case SSL_ERROR_WANT_WRITE:
        co_return co_await waitWritable();
    case SSL_ERROR_ZERO_RETURN:
        co_return asio::error::eof;
    case SSL_ERROR_SYSCALL:
        failed_ = true;
        co_return errno == 0 ? error_code(asio::error::eof)
                             : error_code(errno, boost::system::system_category());
    default:
        failed_ = true;
        co_return asio::error::connection_aborted;
    }
}

Async<error_code> TlsTransport::handshake(std::chrono::milliseconds limit)
{
    if (!ssl_) {
        co_return asio::error::no_memory;
    }
    for (bool first = true;; first = false) {
        ERR_clear_error();
        errno = 0;
        const int done = SSL_do_handshake(ssl_.get());
        if (done == 1) {
            co_return error_code();
        }
        const error_code error = co_await waitFor(SSL_get_error(ssl_.get(), done));
        if (error) {
            co_return error;
        }
        if (first) {
            expireAfter(limit);
        }
    }
}

Async<IoResult> TlsTransport::readSome(asio::mutable_buffer buffer)
{
    IoResult result;
    for (;;) {
        // SSL_read returns at most one record: read all available records before returning.
        ERR_clear_error();
        errno = 0;
        std::size_t got = 0;
        if (!socket_.is_open()) {
            co_return IoResult{result.bytes, asio::error::operation_aborted};
        }
        const int done = SSL_read_ex(ssl_.get(), buffer.data(), buffer.size(), &got);
        if (done == 1) {
            result.bytes += got;
            buffer += got;
            if (buffer.size() == 0) {
                co_return result;
            }
            continue;
        }
        const int why = SSL_get_error(ssl_.get(), done);
        if (result.bytes > 0 && why == SSL_ERROR_WANT_READ) {
            co_return result;
        }
        result.error = co_await waitFor(why);
        if (result.error) {
            co_return result;
        }
    }
}

Async<error_code> TlsTransport::write(asio::const_buffer buffer)
{
    while (buffer.size() > 0) {
        if (!socket_.is_open()) {
            co_return asio::error::operation_aborted;
        }
        ERR_clear_error();
        errno = 0;
        std::size_t sent = 0;
        const int done = SSL_write_ex(ssl_.get(), buffer.data(), buffer.size(), &sent);
        if (done == 1) {
            countSent(sent);
            buffer += sent;
            continue;
        }
        const error_code error = co_await waitFor(SSL_get_error(ssl_.get(), done));
        if (error) {
            co_return error;
        }
    }
    co_return error_code();
}

std::uint64_t TlsTransport::wireBytes() const
{
    return ssl_ ? BIO_number_written(SSL_get_wbio(ssl_.get())) : 0;
}

Async<void> TlsTransport::shutdownSend()
{
    if (ssl_ && !failed_ && socket_.is_open()) {
        // One call sends our close_notify; it does not wait for the peer's.
        ERR_clear_error();
        SSL_shutdown(ssl_.get());
    }
    co_await Transport::shutdownSend();
}

} // namespace kelvo::http
