// Both ends of a TCP connection within the test.
#pragma once

#include "service/http/Transport.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <memory>
#include <string>

namespace kelvo::test {

/** `server` is the end that the service would have accepted; `client` is the peer. */
struct TcpPair
{
    explicit TcpPair(asio::io_context& io)
    {
        using asio::ip::tcp;
        tcp::acceptor acceptor(io, tcp::endpoint(asio::ip::address_v4::loopback(), 0));
        tcp::socket near(io);
        near.connect(acceptor.local_endpoint());
        client = std::make_unique<http::Transport>(std::move(near));
        server = std::make_unique<http::Transport>(acceptor.accept());
    }

    std::unique_ptr<http::Transport> server;
    std::unique_ptr<http::Transport> client;
};

/** Reads until the other side ends the connection. */
inline Async<std::string> readAll(http::Transport& transport)
{
    std::string all;
    for (http::IoResult result; !result.error;) {
        char buffer[4096];
        result = co_await transport.readSome(asio::buffer(buffer));
        all.append(buffer, result.bytes);
    }
    co_return all;
}

/** Reads until the text contains `end`. */
inline Async<std::string> readUntil(http::Transport& transport, std::string end)
{
    std::string all;
    for (http::IoResult result; !result.error && all.find(end) == std::string::npos;) {
        char buffer[4096];
        result = co_await transport.readSome(asio::buffer(buffer));
        all.append(buffer, result.bytes);
    }
    co_return all;
}

inline Async<void> sendText(http::Transport& transport, std::string text)
{
    co_await transport.write(asio::buffer(text));
}

} // namespace kelvo::test
