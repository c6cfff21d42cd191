// A connection's conduct towards well-behaved and other peers.
#include "service/http/Connection.h"
#include "service/http/Problem.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"

#include <gmock/gmock.h>

#include <vector>

namespace kelvo::http {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/** Fails in the middle. */
class TornSource final : public BodySource
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

/** Answers with the body it got, if it reads it, and remembers what came. */
class EchoApplication final : public Application
{
public:
    Async<Response> handle(Request& request) override
    {
        ++handled;
        if (request.head.path == "/ignore") {
            co_return Response::noContent();
        }
        if (request.head.path == "/large") {
            co_return Response::text(std::string(64 * 1024 * 1024, 'x'), "text/plain");
        }
        if (request.head.path == "/fail") {
            throw std::runtime_error("secret detail");
        }
        if (request.head.path == "/torn") {
            Response response;
            response.source = std::make_shared<TornSource>();
            co_return response;
        }
        if (request.head.path.starts_with("/taken-over")) {
            request.body.abandon();
        }
        if (request.head.path == "/taken-over-early") {
            co_return Response::noContent();
        }
        const std::string body = co_await request.body.readAll(1024 * 1024);
        co_return Response::text("<" + body + ">", "text/plain");
    }

    void requestBegun() override { ++open; }

    void requestDone(const RequestSummary& summary) override
    {
        --open;
        statuses.push_back(summary.status);
        received += summary.receivedBytes;
    }

    int handled = 0;
    int open = 0;
    std::uint64_t received = 0;
    std::vector<unsigned> statuses;
};

/** Its greeting needs something from the peer first, as that of TLS does. */
class GreetingTransport final : public Transport
{
public:
    using Transport::Transport;
    Async<boost::system::error_code> handshake() override { return waitReadable(); }
};

class ConnectionConduct : public testing::Test
{
protected:
    /** All that the connection says to a peer that sends this and then no more. */
    std::string talk(const std::string& text, bool refuse = false)
    {
        test::TcpPair pair(loop.io());
        Connection connection(std::move(pair.server), application, limits);
        bool served = false;
        loop.start(serve(connection, refuse, served));
        loop.start(say(*pair.client, text));
        const std::string reply = loop.run(test::readAll(*pair.client));
        loop.runUntil([&served] { return served; });
        EXPECT_EQ(application.open, 0);
        return reply;
    }

    static Async<void> serve(Connection& connection, bool refuse, bool& served)
    {
        co_await connection.run(refuse);
        served = true;
    }

    static Async<void> say(Transport& client, std::string text)
    {
        co_await client.write(asio::buffer(text));
        co_await client.shutdownSend();
    }

    static int countReplies(const std::string& text)
    {
        int count = 0;
        for (auto at = text.find("HTTP/1.1 "); at != std::string::npos;
             at = text.find("HTTP/1.1 ", at + 1)) {
            ++count;
        }
        return count;
    }

    test::Loop loop;
    EchoApplication application;
    Limits limits;
};

TEST_F(ConnectionConduct, AnswersAndStaysOpenForMore)
{
    const std::string reply = talk("POST / HTTP/1.1\r\nContent-Length: 2\r\n\r\nab"
                                   "POST / HTTP/1.1\r\nContent-Length: 2\r\n\r\ncd");
    EXPECT_THAT(reply, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(reply, HasSubstr("<ab>HTTP/1.1 200 OK"));
    EXPECT_THAT(reply, HasSubstr("<cd>"));
    EXPECT_THAT(reply, Not(HasSubstr("Connection: close")));
    EXPECT_EQ(application.received, 4U);
}

TEST_F(ConnectionConduct, StaysOpenWhenTakenOverWithAllThere)
{
    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.run(
        test::sendText(*pair.client, "POST /taken-over HTTP/1.1\r\nContent-Length: 2\r\n\r\nab"));
    EXPECT_THAT(loop.run(test::readUntil(*pair.client, "<ab>")), Not(HasSubstr("close")));
    loop.run(test::sendText(*pair.client, "GET / HTTP/1.1\r\nConnection: close\r\n\r\n"));
    EXPECT_THAT(loop.run(test::readAll(*pair.client)), HasSubstr("<>"));
    loop.runUntil([&served] { return served; });
}

TEST_F(ConnectionConduct, SaysThatItClosesWhenTakenOverBeforeAllCame)
{
    EXPECT_THAT(talk("POST /taken-over-early HTTP/1.1\r\nContent-Length: 5\r\n\r\nab"),
                HasSubstr("Connection: close"));
}

TEST_F(ConnectionConduct, ClosesWhenAskedTo)
{
    const std::string reply = talk("POST / HTTP/1.1\r\nConnection: close\r\n\r\n"
                                   "POST / HTTP/1.1\r\n\r\n");
    EXPECT_EQ(countReplies(reply), 1);
    EXPECT_THAT(reply, HasSubstr("Connection: close"));
}

TEST_F(ConnectionConduct, SendsNoBodyToHead)
{
    const std::string reply = talk("HEAD / HTTP/1.1\r\n\r\n");
    EXPECT_THAT(reply, HasSubstr("Content-Length: 2\r\n"));
    EXPECT_THAT(reply, testing::EndsWith("\r\n\r\n"));
}

TEST_F(ConnectionConduct, GivesNoContentNoLength)
{
    EXPECT_THAT(talk("GET /ignore HTTP/1.1\r\n\r\n"), Not(HasSubstr("Content-Length")));
}

TEST_F(ConnectionConduct, RefusesAHeadThatIsTooLarge)
{
    const std::string reply = talk("GET / HTTP/1.1\r\nX: " + std::string(20000, 'x') + "\r\n\r\n");
    EXPECT_THAT(reply, StartsWith("HTTP/1.1 431 "));
    EXPECT_THAT(reply, HasSubstr("urn:kelvo:problem:headers-too-large"));
    EXPECT_EQ(application.handled, 0);
}

TEST_F(ConnectionConduct, RefusesWhatIsNotHttp)
{
    EXPECT_THAT(talk("\x16\x03\x01 hello\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
}

TEST_F(ConnectionConduct, RefusesChunkedBodiesAndCloses)
{
    const std::string reply = talk("POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"
                                   "2\r\nab\r\n0\r\n\r\n");
    EXPECT_THAT(reply, StartsWith("HTTP/1.1 411 "));
    EXPECT_THAT(reply, HasSubstr("Connection: close"));
    EXPECT_EQ(countReplies(reply), 1);
}

TEST_F(ConnectionConduct, TellsThePeerToGoOnOnlyWhenTheBodyIsWanted)
{
    const std::string head = " HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n";
    EXPECT_THAT(talk("POST /ignore" + head), StartsWith("HTTP/1.1 204 "));

    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.run(test::sendText(*pair.client, "POST /" + head));
    EXPECT_EQ(loop.run(test::readUntil(*pair.client, "\r\n\r\n")), "HTTP/1.1 100 Continue\r\n\r\n");
    loop.run(test::sendText(*pair.client, "ab"));
    EXPECT_THAT(loop.run(test::readUntil(*pair.client, "<ab>")), StartsWith("HTTP/1.1 200 "));
    pair.client->abort();
    loop.runUntil([&served] { return served; });
}

TEST_F(ConnectionConduct, DropsASmallBodyThatNobodyRead)
{
    const std::string reply = talk("POST /ignore HTTP/1.1\r\nContent-Length: 5\r\n\r\n12345"
                                   "POST / HTTP/1.1\r\nContent-Length: 2\r\n\r\nab");
    EXPECT_EQ(countReplies(reply), 2);
    EXPECT_THAT(reply, HasSubstr("<ab>"));
}

TEST_F(ConnectionConduct, ClosesRatherThanReadALargeBodyThatNobodyWants)
{
    limits.drainBytes = 4;
    const std::string reply = talk("POST /ignore HTTP/1.1\r\nContent-Length: 5\r\n\r\n12345"
                                   "POST / HTTP/1.1\r\nContent-Length: 2\r\n\r\nab");
    EXPECT_EQ(countReplies(reply), 1);
    EXPECT_THAT(reply, HasSubstr("Connection: close"));
}

TEST_F(ConnectionConduct, AnswersNothingToAPeerThatLeavesInTheMiddle)
{
    EXPECT_EQ(talk("POST / HTTP/1.1\r\nContent-Length: 10\r\n\r\nabc"), "");
    EXPECT_THAT(application.statuses, testing::ElementsAre(499U));
}

TEST_F(ConnectionConduct, KeepsDetailsOfItsFailuresToItself)
{
    const std::string reply = talk("GET /fail HTTP/1.1\r\n\r\n");
    EXPECT_THAT(reply, StartsWith("HTTP/1.1 500 "));
    EXPECT_THAT(reply, Not(HasSubstr("secret")));
}

TEST_F(ConnectionConduct, CountsAReplyThatItCannotFinish)
{
    talk("GET /torn HTTP/1.1\r\n\r\nGET / HTTP/1.1\r\n\r\n");
    EXPECT_EQ(application.handled,
              1); // the peer would take the next reply for the rest of this one
    EXPECT_THAT(application.statuses, testing::ElementsAre(200U));
}

TEST_F(ConnectionConduct, TellsPeersThatItIsFull)
{
    const std::string reply = talk("GET / HTTP/1.1\r\n\r\n", true);
    EXPECT_THAT(reply, StartsWith("HTTP/1.1 503 "));
    EXPECT_THAT(reply, HasSubstr("Retry-After: "));
    EXPECT_EQ(application.handled, 0);
}

TEST_F(ConnectionConduct, EndsAtOnceWhenIdleAndTheServiceStops)
{
    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.run(test::sendText(*pair.client, "GET / HTTP/1.1\r\n\r\n"));
    loop.run(test::readUntil(*pair.client, "<>"));
    connection.stop();
    loop.runUntil([&served] { return served; });
    EXPECT_EQ(loop.run(test::readAll(*pair.client)), "");
}

TEST_F(ConnectionConduct, EndsAtOnceWhileItGreetsAndTheServiceStops)
{
    using asio::ip::tcp;
    tcp::acceptor acceptor(loop.io(), tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    tcp::socket peer(loop.io());
    peer.connect(acceptor.local_endpoint());
    Connection connection(std::make_unique<GreetingTransport>(acceptor.accept()), application,
                          limits);
    limits.headTime = std::chrono::hours(1);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.io().poll();
    connection.stop();
    loop.runUntil([&served] { return served; });
}

TEST_F(ConnectionConduct, WaitsLittleForAReplyThatNobodyTakesWhenTheServiceStops)
{
    limits.stopStall = std::chrono::milliseconds(1);
    limits.bodyStall = std::chrono::hours(1);
    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.run(test::sendText(*pair.client, "GET /large HTTP/1.1\r\n\r\n"));
    loop.run(test::readUntil(*pair.client, "\r\n\r\n"));
    connection.stop();
    loop.runUntil([&served] { return served; });
    EXPECT_THAT(application.statuses, testing::ElementsAre(200U));
}

TEST_F(ConnectionConduct, EndsWhenAPeerIsTooSlowWithItsHead)
{
    limits.headTime = std::chrono::milliseconds(20);
    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.run(test::sendText(*pair.client, "GET / HT"));
    EXPECT_EQ(loop.run(test::readAll(*pair.client)), "");
    loop.runUntil([&served] { return served; });
}

} // namespace
} // namespace kelvo::http
