// Slow peers: each limit ends them.
#include "service/http/Connection.h"
#include "service/http/Problem.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>

#include <gmock/gmock.h>

#include <memory>
#include <vector>

namespace kelvo::http {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t largeAnswerBytes = 64 * 1024 * 1024;
/** More than a peer's receive buffer takes, less than it and the send buffer take together. */
constexpr std::size_t bufferedAnswerBytes = 512 * 1024;

/**
 * Reads bodies whole at /json and piece by piece at other paths. Its answers to GET are large,
 * except at /buffered.
 */
class ReadingApplication final : public Application
{
public:
    Async<Response> handle(Request& request) override
    {
        if (request.head.method == "GET") {
            const bool fits = request.head.path == "/buffered";
            const std::size_t bytes = fits ? bufferedAnswerBytes : largeAnswerBytes;
            co_return Response::text(std::string(bytes, 'x'), "text/plain");
        }
        if (request.head.path == "/json") {
            co_await request.body.readAll(1024 * 1024);
        }
        if (request.head.path != "/unread") {
            co_await readPieces(request.body);
        }
        co_return Response::noContent();
    }

    void requestBegun() override {}
    void requestDone(const RequestSummary& summary) override { statuses.push_back(summary.status); }

    std::vector<unsigned> statuses;

private:
    static Async<void> readPieces(BodyReader& body)
    {
        char piece[4096];
        while (body.remainingBytes() > 0) {
            const IoResult got = co_await body.readSome(asio::buffer(piece));
            if (got.bytes == 0) {
                throw PeerGone();
            }
        }
    }
};

class SlowPeers : public testing::Test
{
protected:
    SlowPeers()
    {
        // Each test lowers the one limit that it tests.
        limits.headTime = limits.idleTime = limits.bodyStall = limits.jsonTime = 1h;
        limits.proxyStall = limits.lingerTime = 1h;
    }

    /**
     * Serves a peer that sends `text` and then a byte every millisecond, until the service closes.
     */
    void drip(const std::string& text)
    {
        const auto peer = [](Transport& client, std::string begin) -> Async<void> {
            auto failed = co_await client.write(asio::buffer(begin));
            asio::steady_timer timer(client.executor());
            while (!failed) {
                timer.expires_after(1ms);
                co_await timer.async_wait(asio::use_awaitable);
                failed = co_await client.write(asio::buffer("x", 1));
            }
        };
        serve([&](Transport& client) { return peer(client, text); });
    }

    template <class Peer>
    void serve(Peer peer)
    {
        test::TcpPair pair(loop.io());
        Connection connection(std::move(pair.server), application, limits);
        bool served = false;
        bool left = false;
        const auto run = [&]() -> Async<void> {
            co_await connection.run(false);
            served = true;
        };
        const auto visit = [&]() -> Async<void> {
            co_await peer(*pair.client);
            left = true;
        };
        loop.start(run());
        loop.start(visit());
        loop.runUntil([&served] { return served; });
        pair.client->abort();
        loop.runUntil([&left] { return left; });
    }

    test::Loop loop;
    ReadingApplication application;
    Limits limits;
};

TEST_F(SlowPeers, HaveADeadlineForAHeadThatArrivesSteadily)
{
    limits.headTime = 30ms;
    drip("GET / HTTP/1.1\r\nHost: h\r\nX-Slow: ");
    EXPECT_THAT(application.statuses, testing::ElementsAre(408U)) << "counted, but not sent";
}

TEST_F(SlowPeers, HaveADeadlineForTheFirstByte)
{
    limits.idleTime = 30ms;
    serve([](Transport& client) -> Async<void> { co_await test::readAll(client); });
    EXPECT_THAT(application.statuses, testing::IsEmpty());
}

TEST_F(SlowPeers, AreIdleAfterAnEmptyLine)
{
    limits.idleTime = 30ms;
    const std::string request = "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 1\r\n\r\nx";
    for (const std::string& text : {std::string("\r\n"), request + "\r\n"}) {
        serve([&text](Transport& client) -> Async<void> {
            co_await test::sendText(client, text);
            co_await test::readAll(client);
        });
    }
    EXPECT_THAT(application.statuses, testing::ElementsAre(204U));
}

TEST_F(SlowPeers, ClosesTheConnectionWhenTheBodyStalls)
{
    limits.bodyStall = 30ms;
    serve([](Transport& client) -> Async<void> {
        co_await test::sendText(client,
                                "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 1000000\r\n\r\nabc");
        co_await test::readAll(client);
    });
    EXPECT_THAT(application.statuses, testing::ElementsAre(408U));
}

TEST_F(SlowPeers, ClosesTheConnectionWhenTheBodyComesAByteAtATime)
{
    limits.bodyStall = 30ms;
    drip("POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 1000000\r\n\r\n");
    EXPECT_THAT(application.statuses, testing::ElementsAre(408U));
}

TEST_F(SlowPeers, HaveADeadlineForABodyThatIsDropped)
{
    limits.jsonTime = 30ms;
    limits.bodyProgressBytes = 1;
    drip("POST /unread HTTP/1.1\r\nHost: h\r\nContent-Length: 60000\r\n\r\n");
    EXPECT_THAT(application.statuses, testing::ElementsAre(204U));
}

TEST_F(SlowPeers, HaveADeadlineForASmallBodyThatArrivesSteadily)
{
    limits.jsonTime = 30ms;
    limits.bodyProgressBytes = 1;
    drip("POST /json HTTP/1.1\r\nHost: h\r\nContent-Length: 60000\r\n\r\n");
    EXPECT_THAT(application.statuses, testing::ElementsAre(408U));
}

TEST_F(SlowPeers, ClosesTheConnectionOfAPeerThatDoesNotReadTheAnswer)
{
    limits.bodyStall = 30ms;
    serve([](Transport& client) -> Async<void> {
        co_await test::sendText(client, "GET / HTTP/1.1\r\nHost: h\r\n\r\n");
    });
    EXPECT_THAT(application.statuses, testing::ElementsAre(200U));
}

TEST_F(SlowPeers, ClosesTheConnectionOfAPeerThatReadsTheAnswerTooSlowly)
{
    limits.bodyStall = 30ms;
    limits.bodyProgressBytes = 1024 * 1024 * 1024; // more than the whole answer
    std::size_t taken = 0;
    serve([&taken](Transport& client) -> Async<void> {
        co_await test::sendText(client, "GET / HTTP/1.1\r\nHost: h\r\n\r\n");
        const auto piece = std::make_unique<char[]>(largeAnswerBytes / 1000);
        asio::steady_timer timer(client.executor());
        for (IoResult got; !got.error;) {
            got = co_await client.readSome(asio::buffer(piece.get(), largeAnswerBytes / 1000));
            taken += got.bytes;
            timer.expires_after(1ms); // the service waits for the peer meanwhile
            boost::system::error_code ignored;
            co_await timer.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
        }
    });
    EXPECT_THAT(application.statuses, testing::ElementsAre(200U));
    EXPECT_LT(taken, largeAnswerBytes);
}

TEST_F(SlowPeers, ClosesTheConnectionOfAPeerThatReadsTheAnswerAByteAtATime)
{
    limits.bodyStall = 30ms;
    serve([](Transport& client) -> Async<void> {
        co_await test::sendText(client, "GET / HTTP/1.1\r\nHost: h\r\n\r\n");
        asio::steady_timer timer(client.executor());
        for (IoResult got; !got.error;) {
            char byte = 0;
            got = co_await client.readSome(asio::buffer(&byte, 1));
            timer.expires_after(1ms);
            boost::system::error_code ignored;
            co_await timer.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
        }
    });
    EXPECT_THAT(application.statuses, testing::ElementsAre(200U));
}

TEST_F(SlowPeers, HaveAnotherTimeForTheAnswerIfTheyAreTrustedProxies)
{
    limits.trustedProxies = AddressList({"127.0.0.1"});
    limits.proxyStall = 30ms;
    for (const std::string header : {"", "PROXY TCP4 192.0.2.1 192.0.2.2 1000 443\r\n"}) {
        limits.proxyProtocol = !header.empty();
        serve([&header](Transport& client) -> Async<void> {
            co_await test::sendText(client, header + "GET / HTTP/1.1\r\nHost: h\r\n\r\n");
        });
    }
    EXPECT_THAT(application.statuses, testing::ElementsAre(200U, 200U));
}

TEST_F(SlowPeers, HaveTheStallTimeoutForTheEndOfAnAnswer)
{
    limits.bodyStall = 30ms;
    for (const std::string field : {"", "Connection: close\r\n"}) {
        serve([&field](Transport& client) -> Async<void> {
            co_await test::sendText(client,
                                    "GET /buffered HTTP/1.1\r\nHost: h\r\n" + field + "\r\n");
        });
    }
    EXPECT_THAT(application.statuses, testing::ElementsAre(200U, 200U));
}

TEST_F(SlowPeers, HaveTheIdleTimeAfterTheEndOfAnAnswer)
{
    limits.idleTime = limits.lingerTime = 30ms;
    for (const std::string field : {"", "Connection: close\r\n"}) {
        std::size_t taken = 0;
        serve([&](Transport& client) -> Async<void> {
            co_await test::sendText(client,
                                    "GET /buffered HTTP/1.1\r\nHost: h\r\n" + field + "\r\n");
            const std::string answer = co_await test::readAll(client);
            taken = answer.size();
        });
        EXPECT_GT(taken, bufferedAnswerBytes);
    }
}

TEST_F(SlowPeers, KeepTheConnectionUntilTheyHaveReadTheAnswer)
{
    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    const auto run = [&]() -> Async<void> {
        co_await connection.run(false);
        served = true;
    };
    loop.start(run());
    loop.run(test::sendText(*pair.client,
                            "GET /buffered HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n"));
    loop.runUntil([this] { return !application.statuses.empty(); });
    EXPECT_FALSE(served);
    EXPECT_GT(loop.run(test::readAll(*pair.client)).size(), bufferedAnswerBytes);
    pair.client->abort();
    loop.runUntil([&served] { return served; });
}

} // namespace
} // namespace kelvo::http
