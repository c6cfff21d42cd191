// The plain TCP transport, and the deadlines of all transports.
#include "service/http/Transport.h"

#include "service/http/ProxyHeader.h"

#include <boost/asio/redirect_error.hpp>

#include <cerrno>

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

namespace kelvo::http {

using boost::system::error_code;
using Steady = std::chrono::steady_clock;

/**
 * One timer per connection that follows the deadline lazily. Each chunk moves the deadline, which
 * is only an assignment; the timer checks the deadline again when it fires.
 */
struct Transport::Deadline : std::enable_shared_from_this<Transport::Deadline>
{
    Deadline(Transport& owner, const asio::any_io_executor& executor)
        : transport(&owner), timer(executor)
    {}

    void moveTo(Steady::time_point when)
    {
        at = when;
        if (at < firesAt) {
            arm();
        }
    }

    void arm()
    {
        firesAt = at;
        timer.expires_at(at);
        timer.async_wait([self = shared_from_this()](const error_code& cancelled) {
            if (cancelled || self->transport == nullptr) {
                return;
            }
            self->firesAt = Steady::time_point::max();
            if (self->at == Steady::time_point::max()) {
                return;
            }
            if (Steady::now() < self->at) {
                self->arm();
                return;
            }
            if (self->transport->extendDeadline()) {
                return;
            }
            self->transport->expired_ = true;
            self->transport->abort();
        });
    }

    Transport* transport; // null once the transport is gone
    asio::steady_timer timer;
    Steady::time_point at = Steady::time_point::max();
    Steady::time_point firesAt = Steady::time_point::max(); // max: not armed
};

Transport::Transport(asio::ip::tcp::socket socket)
    : socket_(std::move(socket)), deadline_(std::make_shared<Deadline>(*this, executor()))
{
    error_code ignored;
    socket_.non_blocking(true, ignored);
    socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
    const auto endpoint = socket_.remote_endpoint(ignored);
    peerAddress_ = ignored ? std::string() : endpoint.address().to_string();
}

Transport::~Transport()
{
    deadline_->transport = nullptr;
    deadline_->timer.cancel();
}

Async<error_code> Transport::readProxyHeader()
{
    std::string bytes;
    ProxyHeader header = parseProxyHeader(bytes);
    while (header.state == EProxyHeader::Incomplete) {
        const std::size_t had = bytes.size();
        bytes.resize(header.neededBytes);
        auto room = asio::buffer(bytes.data() + had, header.neededBytes - had);
        const IoResult result = co_await Transport::readSome(room);
        if (result.error) {
            co_return result.error;
        }
        bytes.resize(had + result.bytes);
        header = parseProxyHeader(bytes);
    }
    if (header.state == EProxyHeader::Wrong) {
        co_return asio::error::invalid_argument;
    }
    if (!header.address.empty()) {
        peerAddress_ = header.address;
    }
    co_return error_code();
}

Async<error_code> Transport::handshake(std::chrono::milliseconds /*limit*/)
{
    co_return error_code();
}

Async<IoResult> Transport::readSome(asio::mutable_buffer buffer)
{
    for (;;) {
        const ssize_t got = ::recv(socket_.native_handle(), buffer.data(), buffer.size(), 0);
        if (got > 0) {
            co_return IoResult{static_cast<std::size_t>(got), {}};
        }
        if (got == 0) {
            co_return IoResult{0, asio::error::eof};
        }
        if (errno != EAGAIN && errno != EINTR) {
            co_return IoResult{0, error_code(errno, boost::system::system_category())};
        }
        const error_code error = co_await waitReadable();
        if (error) {
            co_return IoResult{0, error};
        }
    }
}

Async<error_code> Transport::write(asio::const_buffer buffer)
{
    while (buffer.size() > 0) {
        const ssize_t sent =
            ::send(socket_.native_handle(), buffer.data(), buffer.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            countSent(static_cast<std::size_t>(sent));
            buffer += static_cast<std::size_t>(sent);
            continue;
        }
        if (errno != EAGAIN && errno != EINTR) {
            co_return error_code(errno, boost::system::system_category());
        }
        const error_code error = co_await waitWritable();
        if (error) {
            co_return error;
        }
    }
    co_return error_code();
}

Async<void> Transport::shutdownSend()
{
    error_code ignored;
    socket_.shutdown(asio::ip::tcp::socket::shutdown_send, ignored);
    co_return;
}

void Transport::stopWaiting()
{
    waits_ = false;
    error_code ignored;
    socket_.cancel(ignored);
}

void Transport::abort()
{
    error_code ignored;
    socket_.close(ignored);
}

void Transport::expireAfter(std::chrono::milliseconds limit)
{
    stallTimeout_.reset();
    deadline_->moveTo(Steady::now() + limit);
}

void Transport::expectProgress(std::chrono::milliseconds limit, std::uint64_t bytes)
{
    limitAfterSent_.reset();
    stallTimeout_.emplace(limit, bytes);
    takenBytes_ = wireBytes() - queuedBytes();
    checkProgressAfter(limit);
}

void Transport::expireAfterSent(std::chrono::milliseconds limit)
{
    if (!stallTimeout_ || queuedBytes() == 0) {
        expireAfter(limit);
        return;
    }
    limitAfterSent_ = limit;
    stallTimeout_->restart();
    checkProgressAfter(std::min(limit, stallTimeout_->left()));
}

void Transport::checkProgressAfter(std::chrono::milliseconds pause)
{
    checkPause_ = pause;
    deadline_->moveTo(Steady::now() + pause);
}

void Transport::neverExpire()
{
    stallTimeout_.reset();
    deadline_->moveTo(Steady::time_point::max());
}

std::uint64_t Transport::queuedBytes()
{
    int queued = 0;
    const bool isKnown = ::ioctl(socket_.native_handle(), SIOCOUTQ, &queued) == 0;
    return isKnown ? static_cast<std::uint64_t>(queued) : 0;
}

/** Called when the deadline is reached. Returns whether it set a later deadline. */
bool Transport::extendDeadline()
{
    if (!stallTimeout_) {
        return false;
    }
    const std::uint64_t queued = queuedBytes();
    const std::uint64_t taken = wireBytes() - queued;
    stallTimeout_->count(checkPause_, taken - takenBytes_);
    takenBytes_ = taken;
    if (queued == 0) { // the peer cannot read more than was written
        stallTimeout_->restart();
        if (limitAfterSent_) {
            expireAfter(*limitAfterSent_);
            return true;
        }
    }
    const std::chrono::milliseconds left = stallTimeout_->left();
    if (left == std::chrono::milliseconds(0)) {
        return false;
    }
    checkProgressAfter(std::min(left, limitAfterSent_.value_or(left)));
    return true;
}

Async<error_code> Transport::waitReadable()
{
    if (!waits_) {
        co_return asio::error::operation_aborted;
    }
    error_code error;
    co_await socket_.async_wait(asio::ip::tcp::socket::wait_read,
                                asio::redirect_error(asio::use_awaitable, error));
    co_return error;
}

Async<error_code> Transport::waitWritable()
{
    error_code error;
    co_await socket_.async_wait(asio::ip::tcp::socket::wait_write,
                                asio::redirect_error(asio::use_awaitable, error));
    co_return error;
}

} // namespace kelvo::http
