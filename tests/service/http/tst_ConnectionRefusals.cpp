// Requests that a connection refuses, and its answers after failures.
#include "tests/service/support/ConnectionFixture.h"

#include <gmock/gmock.h>

namespace kelvo::http {
namespace {

using test::HttpConnection;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string chunkedHead = "POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: Chunked\r\n\r\n";

TEST_F(HttpConnection, RefusesAHeadThatIsTooLarge)
{
    const std::string answer =
        talk("GET / HTTP/1.1\r\nHost: h\r\nX: " + std::string(20000, 'x') + "\r\n\r\n");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 431 "));
    EXPECT_THAT(answer, HasSubstr("urn:kelvo:problem:headers-too-large"));
    EXPECT_EQ(application.handled, 0);
}

TEST_F(HttpConnection, RefusesATargetThatIsTooLong)
{
    const std::string answer =
        talk("GET /" + std::string(20000, 'x') + " HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 414 URI Too Long"));
    EXPECT_THAT(answer, HasSubstr("urn:kelvo:problem:uri-too-long"));
}

TEST_F(HttpConnection, RefusesARequestThatIsNotHttp)
{
    EXPECT_THAT(talk("\x16\x03\x01 hello\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
}

TEST_F(HttpConnection, RefusesMalformedChunksAndCloses)
{
    const std::string answer = talk(chunkedHead + "2\r\nabX\r\n0\r\n\r\n" + chunkedHead);
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 400 "));
    EXPECT_THAT(answer, HasSubstr("Connection: close"));
    EXPECT_EQ(countAnswers(answer), 1);
}

TEST_F(HttpConnection, RefusesAChunkedBodyAboveTheLimit)
{
    const std::string tooLong = std::string(1024 * 1024, 'x') + "y";
    const std::string answer = talk(chunkedHead + "100001\r\n" + tooLong + "\r\n0\r\n\r\n");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 413 "));
}

TEST_F(HttpConnection, RefusesOtherTransferCodings)
{
    for (const char* coding : {"gzip, chunked", "chunked, chunked"}) {
        const std::string answer =
            talk("POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: " + std::string(coding) +
                 "\r\n\r\n0\r\n\r\n");
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 501 ")) << coding;
    }
    EXPECT_THAT(talk("POST / HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: gzip\r\n\r\n"),
                StartsWith("HTTP/1.1 501 "));
}

TEST_F(HttpConnection, RefusesOtherVersions)
{
    for (const char* version : {"HTTP/2.0", "HTTP/9.9", "HTTP/0.9"}) {
        EXPECT_THAT(talk("GET / " + std::string(version) + "\r\nHost: h\r\n\r\n"),
                    StartsWith("HTTP/1.1 505 "))
            << version;
    }
    EXPECT_THAT(talk("GET /a b HTTP/2.0\r\nHost: h\r\n\r\n"), StartsWith("HTTP/1.1 400 "));
    EXPECT_EQ(application.handled, 0);
}

TEST_F(HttpConnection, ClosesInsteadOfReadingALargeUnwantedBody)
{
    limits.drainBytes = 4;
    const std::string answer =
        talk("POST /ignore HTTP/1.1\r\nHost: h\r\nContent-Length: 5\r\n\r\n12345"
             "POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 2\r\n\r\nab");
    EXPECT_EQ(countAnswers(answer), 1);
    EXPECT_THAT(answer, HasSubstr("Connection: close"));
}

TEST_F(HttpConnection, SendsNoAnswerToAPeerThatLeavesDuringItsBody)
{
    EXPECT_EQ(talk("POST / HTTP/1.1\r\nHost: h\r\nContent-Length: 10\r\n\r\nabc"), "");
    EXPECT_THAT(application.statuses, testing::ElementsAre(499U));
}

TEST_F(HttpConnection, HidesTheDetailsOfItsFailures)
{
    const std::string answer = talk("GET /fail HTTP/1.1\r\nHost: h\r\n\r\n");
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 500 "));
    EXPECT_THAT(answer, Not(HasSubstr("secret")));
}

TEST_F(HttpConnection, ClosesAfterAnAnswerThatItCannotFinish)
{
    talk("GET /torn HTTP/1.1\r\nHost: h\r\n\r\nGET / HTTP/1.1\r\nHost: h\r\n\r\n");
    // The peer would take the next answer for the rest of this answer.
    EXPECT_EQ(application.handled, 1);
    EXPECT_THAT(application.statuses, testing::ElementsAre(200U));
}

TEST_F(HttpConnection, AnswersBusyWhenTheServiceIsFull)
{
    const std::string answer = talk("GET / HTTP/1.1\r\nHost: h\r\n\r\n", true);
    EXPECT_THAT(answer, StartsWith("HTTP/1.1 503 "));
    EXPECT_THAT(answer, HasSubstr("Retry-After: "));
    EXPECT_EQ(application.handled, 0);
}

} // namespace
} // namespace kelvo::http
