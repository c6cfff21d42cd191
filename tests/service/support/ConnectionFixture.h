// A connection to an application that echoes, and the connection's answers.
#pragma once

#include "service/http/Connection.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace kelvo::test {

/** Fails after two of four bytes. */
class FailingSource final : public http::BodySource
{
public:
    std::uint64_t sizeBytes() const override { return 4; }

    Async<std::size_t> read(asio::mutable_buffer buffer) override
    {
        if (begun_) {
            throw std::runtime_error("the disk is gone");
        }
        begun_ = true;
        co_return asio::buffer_copy(buffer, asio::buffer("ab", 2));
    }

private:
    bool begun_ = false;
};

/** Answers with the body it reads, and counts the requests. */
class EchoApplication final : public http::Application
{
public:
    Async<http::Response> handle(http::Request& request) override
    {
        ++handled;
        peers.push_back(request.peerAddress);
        if (request.head.path == "/ignore") {
            co_return http::Response::noContent();
        }
        if (request.head.path == "/large") {
            co_return http::Response::text(std::string(64 * 1024 * 1024, 'x'), "text/plain");
        }
        if (request.head.path == "/fail") {
            throw std::runtime_error("secret detail");
        }
        if (request.head.path == "/torn") {
            http::Response response;
            response.source = std::make_shared<FailingSource>();
            co_return response;
        }
        if (request.head.path.starts_with("/taken-over")) {
            request.body.abandon();
        }
        if (request.head.path == "/taken-over-early") {
            co_return http::Response::noContent();
        }
        const std::string body = co_await request.body.readAll(1024 * 1024);
        co_return http::Response::text("<" + body + ">", "text/plain");
    }

    void requestBegun() override { ++open; }

    void requestDone(const http::RequestSummary& summary) override
    {
        --open;
        statuses.push_back(summary.status);
        received += summary.receivedBytes;
    }

    int handled = 0;
    int open = 0;
    std::uint64_t received = 0;
    std::vector<unsigned> statuses;
    std::vector<std::string> peers; // their addresses
};

class HttpConnection : public testing::Test
{
protected:
    /** The whole answer to a peer that sends `text` and then ends its sending side. */
    std::string talk(const std::string& text, bool refuse = false)
    {
        TcpPair pair(loop.io());
        http::Connection connection(std::move(pair.server), application, limits, counts);
        bool served = false;
        loop.start(serve(connection, refuse, served));
        loop.start(say(*pair.client, text));
        const std::string answer = loop.run(readAll(*pair.client));
        loop.runUntil([&served] { return served; });
        EXPECT_EQ(application.open, 0);
        return answer;
    }

    static Async<void> serve(http::Connection& connection, bool refuse, bool& served)
    {
        co_await connection.run(refuse);
        served = true;
    }

    static Async<void> say(http::Transport& client, std::string text)
    {
        co_await client.write(asio::buffer(text));
        co_await client.shutdownSend();
    }

    static int countAnswers(const std::string& text)
    {
        int count = 0;
        for (auto at = text.find("HTTP/1.1 "); at != std::string::npos;
             at = text.find("HTTP/1.1 ", at + 1)) {
            ++count;
        }
        return count;
    }

    Loop loop;
    EchoApplication application;
    http::Limits limits;
    http::PeerCounts* counts = nullptr;
};

} // namespace kelvo::test
