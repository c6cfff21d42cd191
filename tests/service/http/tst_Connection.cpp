// A connection and well-behaved peers.
#include "tests/service/support/ConnectionFixture.h"

#include <gmock/gmock.h>

namespace kelvo::http {
namespace {

using test::HttpConnection;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(HttpConnection, AnswersSeveralRequests)
{
    const std::string answer = talk("POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\n\r\nab"
                                    "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\n\r\ncd");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
    EXPECT_THAT(answer, HasSubstr("<ab>HTTP/1.1 200 OK"));
    EXPECT_THAT(answer, HasSubstr("<cd>"));
    EXPECT_THAT(answer, Not(HasSubstr("Connection: close")));
    EXPECT_EQ(application.received, 4U);
}

TEST_F(HttpConnection, StaysOpenWhenABodyIsAbandonedAfterItsLastByte)
{
    test::TcpPair pair(loop.io());
    Connection connection(std::move(pair.server), application, limits);
    bool served = false;
    loop.start(serve(connection, false, served));
    loop.run(test::sendText(*pair.client,
                            "POST /taken-over HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\n\r\nab"));
    EXPECT_THAT(loop.run(test::readUntil(*pair.client, "<ab>")), Not(HasSubstr("close")));
    loop.run(
        test::sendText(*pair.client, "GET / HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n"));
    EXPECT_THAT(loop.run(test::readAll(*pair.client)), HasSubstr("<>"));
    loop.runUntil([&served] { return served; });
}

TEST_F(HttpConnection, ClosesWhenABodyIsAbandonedBeforeItsLastByte)
{
    EXPECT_THAT(talk("POST /taken-over-early HTTP/1.1\r\nHost: h\r\nContent-Length: 5\r\n\r\nab"),
                HasSubstr("Connection: close"));
}

TEST_F(HttpConnection, ClosesWhenTheRequestSaysClose)
{
    const std::string answer = talk("POST / HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n"
                                    "POST / HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_EQ(countAnswers(answer), 1);
    EXPECT_THAT(answer, HasSubstr("Connection: close"));
}

TEST_F(HttpConnection, SendsNoBodyForHead)
{
    const std::string answer = talk("HEAD / HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_THAT(answer, HasSubstr("Content-Length: 2\r\n"));
    EXPECT_THAT(answer, testing::EndsWith("\r\n\r\n"));
}

TEST_F(HttpConnection, ReadsAChunkedBodyAndFindsTheNextRequest)
{
    const std::string head = "POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n";
    const std::string answer =
        talk(head + "2\r\nab\r\n3;x=y\r\ncde\r\n0\r\nTrailer: v\r\n\r\n" + head + "0\r\n\r\n");
    EXPECT_THAT(answer, HasSubstr("<abcde>HTTP/1.1 200 OK"));
    EXPECT_THAT(answer, testing::EndsWith("<>"));
    EXPECT_THAT(answer, Not(HasSubstr("Connection: close")));
    EXPECT_EQ(application.received, 5U);
}

TEST_F(HttpConnection, TakesAChunkedBodyOfTheLimit)
{
    const std::string most(1024 * 1024, 'x');
    EXPECT_THAT(talk("POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n100000\r\n" +
                     most + "\r\n0\r\n\r\n"),
                StartsWith("HTTP/1.1 200 "));
}

TEST_F(HttpConnection, ClosesInsteadOfReadingAnUnwantedChunkedBody)
{
    const std::string answer = talk("POST /ignore HTTP/1.1\r\nHost: h\r\n"
                                    "Transfer-Encoding: chunked\r\n\r\n2\r\nab\r\n0\r\n\r\n");
    EXPECT_THAT(answer, HasSubstr("Connection: close"));
}

TEST_F(HttpConnection, TellsAnOldPeerThatTheConnectionStaysOpen)
{
    const std::string answer = talk("GET / HTTP/1.0\r\nConnection: Keep-Alive\r\n\r\n"
                                    "GET / HTTP/1.0\r\n\r\n");
    EXPECT_EQ(countAnswers(answer), 2);
    EXPECT_THAT(answer, HasSubstr("Connection: keep-alive\r\n"));
    EXPECT_THAT(answer, HasSubstr("Connection: close\r\n"));
}

TEST_F(HttpConnection, SendsNoContinueToAnOldPeer)
{
    EXPECT_THAT(talk("POST / HTTP/1.0\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\nab"),
                StartsWith("HTTP/1.1 200 "));
}

TEST_F(HttpConnection, SendsAnEmptyBodyForAnOverriddenHead)
{
    const std::string answer =
        talk("POST / HTTP/1.1\r\nHost: h\r\nX-HTTP-Method-Override: HEAD\r\n\r\n");
    EXPECT_THAT(answer, HasSubstr("Content-Length: 0\r\n"));
    EXPECT_THAT(answer, testing::EndsWith("\r\n\r\n"));
}

TEST_F(HttpConnection, SendsNoContentLengthWithoutContent)
{
    EXPECT_THAT(talk("GET /ignore HTTP/1.1\r\nHost: h\r\n\r\n"), Not(HasSubstr("Content-Length")));
}

TEST_F(HttpConnection, SendsContinueOnlyWhenTheBodyIsRead)
{
    const std::string head =
        " HTTP/1.1\r\nHost: h\r\nExpect: 100-continue\r\nContent-Length: 2\r\n\r\n";
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

TEST_F(HttpConnection, DropsASmallUnreadBody)
{
    const std::string answer =
        talk("POST /ignore HTTP/1.1\r\nHost: h\r\nContent-Length: 5\r\n\r\n12345"
             "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\n\r\nab");
    EXPECT_EQ(countAnswers(answer), 2);
    EXPECT_THAT(answer, HasSubstr("<ab>"));
}

} // namespace
} // namespace kelvo::http
