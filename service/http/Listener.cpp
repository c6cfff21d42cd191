#include "service/http/Listener.h"

#include "service/base/Encoding.h"
#include "service/base/Log.h"
#include "service/http/TlsTransport.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>

#include <stdexcept>
#include <unordered_set>

namespace kelvo::http {

using asio::ip::tcp;

namespace {

/**
 * This many connections beyond the limit get a refusal; all further connections are
 * closed.
 */
constexpr std::size_t maxRefusals = 200;

} // namespace

/** The connections of one I/O thread; used only on that thread. */
struct Listener::IoThread
{
    explicit IoThread(asio::io_context& context) : io(context) {}

    asio::io_context& io;
    std::unordered_set<Connection*> connections;
};

/** Keeps a connection in the set of its thread. */
class Listener::Registration
{
public:
    Registration(IoThread& thread, Connection& connection)
        : thread_(thread), connection_(connection)
    {
        thread_.connections.insert(&connection_);
    }
    ~Registration() { thread_.connections.erase(&connection_); }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    IoThread& thread_;
    Connection& connection_;
};

HostPort HostPort::parse(const std::string& text)
{
    const std::size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == text.size()) {
        throw std::invalid_argument("'" + text + "' is not HOST:PORT");
    }
    HostPort result{text.substr(0, colon), text.substr(colon + 1)};
    if (result.host.front() == '[' && result.host.back() == ']') {
        result.host = result.host.substr(1, result.host.size() - 2);
    }
    // The resolver would take a larger number modulo 65536.
    const auto port = parseNumber(result.port);
    if (!port || *port > 65535) {
        throw std::invalid_argument("'" + result.port + "' is not a port from 0 to 65535");
    }
    return result;
}

std::string HostPort::text() const
{
    const bool v6 = host.find(':') != std::string::npos;
    return (v6 ? "[" + host + "]" : host) + ":" + port;
}

Listener::Listener(const std::vector<asio::io_context*>& contexts, const HostPort& address,
                   TlsContexts tls, Application& application, const Limits& limits)
    : address_(address),
      tls_(std::move(tls)),
      application_(application),
      limits_(limits),
      peers_({limits.connectionsPerAddress, limits.headsPerAddress},
             {limits.connections, limits.headsOfProxies}),
      acceptor_(*contexts.front())
{
    for (asio::io_context* context : contexts) {
        threads_.push_back(std::make_unique<IoThread>(*context));
    }
    tcp::resolver resolver(*contexts.front());
    const auto found = resolver.resolve(address.host, address.port, tcp::resolver::passive);
    const tcp::endpoint endpoint = found.begin()->endpoint();
    acceptor_.open(endpoint.protocol());
    acceptor_.set_option(tcp::acceptor::reuse_address(true));
    acceptor_.bind(endpoint);
    acceptor_.listen(1024);
    address_.port = std::to_string(acceptor_.local_endpoint().port());
}

Listener::~Listener() = default;

void Listener::start()
{
    asio::co_spawn(threads_.front()->io, accept(), asio::detached);
}

Async<void> Listener::accept()
{
    for (std::size_t next = 0; !stopping_; next = (next + 1) % threads_.size()) {
        IoThread& thread = *threads_[next];
        tcp::socket socket(thread.io);
        boost::system::error_code error;
        co_await acceptor_.async_accept(socket, asio::redirect_error(asio::use_awaitable, error));
        if (stopping_) {
            break;
        }
        if (error) {
            // Probably the process has no free descriptors: wait until connections end.
            asio::steady_timer pause(threads_.front()->io, std::chrono::milliseconds(100));
            co_await pause.async_wait(asio::redirect_error(asio::use_awaitable, error));
            continue;
        }
        asio::co_spawn(thread.io, serve(thread, std::move(socket)), asio::detached);
    }
}

Async<void> Listener::serve(IoThread& thread, tcp::socket socket)
{
    const std::size_t others = open_.fetch_add(1);
    if (others >= limits_.connections) {
        ++refusedInAll_;
    }
    if (others < limits_.connections + maxRefusals && !stopping_) {
        try { // if memory is short, the constructors throw too
            auto transport = tls_ ? std::make_unique<TlsTransport>(std::move(socket), tls_().get())
                                  : std::make_unique<Transport>(std::move(socket));
            Connection connection(std::move(transport), application_, limits_, &peers_);
            const Registration registration(thread, connection);
            if (retired_) {
                connection.retire();
            }
            co_await connection.run(others >= limits_.connections);
        } catch (const std::exception& error) {
            logError("connection-failed", error.what());
        }
    }
    open_.fetch_sub(1);
}

Listener::Refused Listener::refused() const
{
    return {refusedInAll_.load(), peers_.refusedConnections(), peers_.refusedHeads()};
}

void Listener::forEachConnection(void (Connection::*action)())
{
    for (const auto& thread : threads_) {
        asio::post(thread->io, [thread = thread.get(), action] {
            for (Connection* connection : thread->connections) {
                (connection->*action)();
            }
        });
    }
}

void Listener::retire()
{
    retired_ = true;
    forEachConnection(&Connection::retire);
}

void Listener::stop()
{
    stopping_ = true;
    asio::post(threads_.front()->io, [this] {
        boost::system::error_code ignored;
        acceptor_.close(ignored);
    });
    forEachConnection(&Connection::stop);
}

void Listener::abort()
{
    forEachConnection(&Connection::abort);
}

} // namespace kelvo::http
