// Accepts connections on one address and spreads them over the I/O threads.
#pragma once

#include "service/http/Connection.h"
#include "service/http/PeerCounts.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

struct ssl_ctx_st;

namespace kelvo::http {

/** "host:port" or "[v6]:port", split. Throws std::invalid_argument. */
struct HostPort
{
    std::string host;
    std::string port;

    static HostPort parse(const std::string& text);
    std::string text() const;
};

/**
 * Thread: built and driven by the main thread. Each connection lives on the one thread of its
 * context. Ownership: contexts and application outlive it. Errors: the constructor
 * throws boost::system::system_error if it cannot listen on the address.
 */
class Listener
{
public:
    /** Returns the TLS context of a new connection. Called on any I/O thread. */
    using TlsContexts = std::function<std::shared_ptr<ssl_ctx_st>()>;

    /** `tls` empty: plain HTTP. */
    Listener(const std::vector<asio::io_context*>& contexts, const HostPort& address,
             TlsContexts tls, Application& application, const Limits& limits);
    ~Listener();

    /** The real address, with the port that the system chose for port 0. */
    HostPort address() const { return address_; }

    void start();

    /** From now on each connection ends after its next answer. Returns at once. */
    void retire();

    /** Accepts no more connections. Answers in progress may finish. Returns at once. */
    void stop();

    /** Closes the remaining connections. */
    void abort();

    std::size_t openConnections() const { return open_.load(); }

    /** The connections refused since the start, by reason. */
    struct Refused
    {
        std::uint64_t total = 0;   // too many connections in all
        std::uint64_t address = 0; // too many connections of one address
        std::uint64_t heads = 0;   // too many unfinished heads of one address
    };
    Refused refused() const;

private:
    struct IoThread;
    class Registration;

    Async<void> accept();
    Async<void> serve(IoThread& thread, asio::ip::tcp::socket socket);
    void forEachConnection(void (Connection::*action)());

    HostPort address_;
    TlsContexts tls_;
    Application& application_;
    Limits limits_;
    PeerCounts peers_;
    std::vector<std::unique_ptr<IoThread>> threads_;
    asio::ip::tcp::acceptor acceptor_;
    std::atomic<std::size_t> open_{0};
    std::atomic<std::uint64_t> refusedInAll_{0};
    std::atomic<bool> retired_{false};
    std::atomic<bool> stopping_{false};
};

} // namespace kelvo::http
