// The end of a connection when the service stops or the peer is too slow.
#include "tests/service/support/ConnectionFixture.h"

#include <gmock/gmock.h>

namespace kelvo::http {
namespace {

using test::HttpConnection;

constexpr const char* closing = "GET / HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n";

/** Its handshake needs bytes from the peer, as the TLS handshake does. */
class HandshakeTransport final : public Transport
{
public:
    using Transport::Transport;
    Async<boost::system::error_code> handshake(std::chrono::milliseconds /*limit*/) override
    {
        return waitReadable();
    }
};

TEST_F(HttpConnection, EndsAtOnceIfIdleWhenTheServiceStops)
{
    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.run(test::sendText(*pair.client, "GET / HTTP/1.1\r\nHost: h\r\n\r\n"));
    loop.run(test::readUntil(*pair.client, "<>"));
    connection.stop();
    loop.runUntil([&served] { return served; });
    EXPECT_EQ(loop.run(test::readAll(*pair.client)), "");
}

TEST_F(HttpConnection, EndsAfterTheNextAnswerWhenItIsRetired)
{
    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    loop.start(serve(connection, false, served));
    const std::string request = "GET / HTTP/1.1\r\nHost: h\r\n\r\n";
    loop.run(test::sendText(*pair.client, request));
    loop.run(test::readUntil(*pair.client, "<>"));
    connection.retire();
    loop.run(test::sendText(*pair.client, request));
    const std::string answer = loop.run(test::readAll(*pair.client));
    EXPECT_THAT(answer, testing::StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(answer, testing::HasSubstr("\r\nConnection: close\r\n"));
    loop.runUntil([&served] { return served; });
}

TEST_F(HttpConnection, EndsWithoutThePeersCloseWhenTheAnswerHasArrived)
{
    limits.closeTime = std::chrono::milliseconds(1);
    limits.lingerTime = std::chrono::hours(1);
    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.run(test::sendText(*pair.client, closing));
    loop.runUntil([&served] { return served; });
    EXPECT_THAT(loop.run(test::readAll(*pair.client)), testing::EndsWith("<>"));
}

TEST_F(HttpConnection, ReadsOnAfterTheLastAnswerIfThePeerSendsMore)
{
    limits.closeTime = std::chrono::hours(1);
    limits.lingerTime = std::chrono::milliseconds(1);
    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.run(test::sendText(*pair.client, closing));
    loop.run(test::readUntil(*pair.client, "<>"));
    loop.run(test::sendText(*pair.client, "x"));
    loop.runUntil([&served] { return served; });
    EXPECT_EQ(loop.run(test::readAll(*pair.client)), "");
}

TEST_F(HttpConnection, ReadsOnAfterTheLastAnswerIfThePeerHasSentMore)
{
    limits.closeTime = std::chrono::hours(1);
    limits.lingerTime = std::chrono::milliseconds(1);
    for (const std::size_t more : {1, 60'000}) { // in the service's buffer, or in the kernel's too
        test::TcpPair pair(loop.io());
        Connection connection(std::move(pair.server), application, limits);
        bool served = false;
        loop.run(test::sendText(*pair.client, closing + std::string(more, 'x')));
        loop.start(serve(connection, false, served));
        loop.runUntil([&served] { return served; });
        std::string answer(4096, '\0');
        const IoResult got = loop.run(pair.client->readSome(asio::buffer(answer)));
        EXPECT_THAT(answer.substr(0, got.bytes), testing::EndsWith("<>"));
        EXPECT_EQ(loop.run(pair.client->readSome(asio::buffer(answer))).error, asio::error::eof);
    }
}

TEST_F(HttpConnection, EndsAtOnceDuringTheHandshakeWhenTheServiceStops)
{
    using asio::ip::tcp;
    tcp::acceptor acceptor(loop.io(), tcp::endpoint(asio::ip::address_v4::loopback(), 0));
    tcp::socket peer(loop.io());
    peer.connect(acceptor.local_endpoint());
    Connection connection(std::make_unique<HandshakeTransport>(acceptor.accept()), application,
                          limits);
    limits.headTime = std::chrono::hours(1);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.io().poll();
    connection.stop();
    loop.runUntil([&served] { return served; });
}

TEST_F(HttpConnection, CutsAnAnswerThatIsNotReadWhenTheServiceStops)
{
    limits.stopStall = std::chrono::milliseconds(1);
    limits.bodyStall = std::chrono::hours(1);
    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.run(test::sendText(*pair.client, "GET /large HTTP/1.1\r\nHost: h\r\n\r\n"));
    loop.run(test::readUntil(*pair.client, "\r\n\r\n"));
    connection.stop();
    loop.runUntil([&served] { return served; });
    EXPECT_THAT(application.statuses, testing::ElementsAre(200U));
}

TEST_F(HttpConnection, EndsWhenTheHeadIsTooSlow)
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
