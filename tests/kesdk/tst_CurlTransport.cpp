// The transport against a real TLS peer: whom it believes, what it sends, and when it gives up.
#include "http/CurlTransport.h"
#include "support/TempFolder.h"
#include "support/TlsPeer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;
using test::TlsPeer;

const char* const kHello = "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nX-Name:  value \r\n\r\nhello";

// Answers every request of a connection alike.
TlsPeer::Script Always(const std::string& answer)
{
    return [answer](TlsPeer::Session& session) {
        while (!session.ReadHead().empty())
            session.Write(answer);
    };
}

class StringSource : public BodySource
{
public:
    explicit StringSource(std::string text) : m_text(std::move(text)) {}
    std::int64_t LengthBytes() const override { return static_cast<std::int64_t>(m_text.size()); }
    std::ptrdiff_t Read(char* buffer, std::size_t sizeBytes) override
    {
        const std::size_t part = m_text.copy(buffer, sizeBytes, m_at);
        m_at += part;
        return static_cast<std::ptrdiff_t>(part);
    }

private:
    std::string m_text;
    std::size_t m_at = 0;
};

class StringSink : public BodySink
{
public:
    bool Accept(const HttpResponse& head) override
    {
        status = head.status;
        return head.IsSuccess();
    }
    bool Write(const char* bytes, std::size_t sizeBytes) override
    {
        text.append(bytes, sizeBytes);
        return true;
    }
    int status = 0;
    std::string text;
};

class CurlTransportTest : public testing::Test
{
protected:
    std::shared_ptr<const TrustStore> Trust() const
    {
        return std::make_shared<const TrustStore>(folder.Write("ca.pem", authority.Pem()));
    }
    test::Identity GoodIdentity() const { return authority.Issue("IP:127.0.0.1", -1, 1); }

    EErrorCode CodeFrom(test::Identity identity, int mostVersion = TLS1_3_VERSION)
    {
        TlsPeer peer(std::move(identity), Always(kHello), mostVersion);
        CurlTransport transport(peer.Url(), Trust());
        const Failure failure = transport.Perform(request, {}).failure;
        lastDetail = failure.detail;
        return failure.code;
    }

    std::string lastDetail;
    test::TempFolder folder;
    test::TestAuthority authority;
    HttpRequest request;
};

} // namespace

TEST_F(CurlTransportTest, ReusesItsConnection)
{
    TlsPeer peer(GoodIdentity(), Always(kHello));
    CurlTransport transport(peer.Url(), Trust());
    for (int i = 0; i < 5; ++i) {
        const HttpOutcome outcome = transport.Perform(request, {});
        ASSERT_FALSE(outcome.failure.IsSet()) << outcome.failure.detail;
        EXPECT_EQ(outcome.response.status, 200);
        EXPECT_EQ(outcome.response.body, "hello");
        ASSERT_NE(outcome.response.Header("x-name"), nullptr);
        EXPECT_EQ(*outcome.response.Header("x-name"), "value");
    }
    EXPECT_EQ(peer.ConnectionCount(), 1);
}

TEST_F(CurlTransportTest, BelievesOnlyKnownAuthorities)
{
    const test::TestAuthority stranger;
    EXPECT_EQ(CodeFrom(GoodIdentity()), EErrorCode::eNone);
    EXPECT_EQ(CodeFrom(stranger.Issue("IP:127.0.0.1", -1, 1)), EErrorCode::eUnknownAuthority);
}

TEST_F(CurlTransportTest, BelievesCertificatesOnlyInTheirTime)
{
    EXPECT_EQ(CodeFrom(authority.Issue("IP:127.0.0.1", -3, -1)), EErrorCode::eCertificateExpired);
    EXPECT_EQ(CodeFrom(authority.Issue("IP:127.0.0.1", 1, 3)), EErrorCode::eCertificateNotYetValid);
}

TEST_F(CurlTransportTest, BelievesCertificatesOnlyForTheirHost)
{
    EXPECT_EQ(CodeFrom(authority.Issue("DNS:elsewhere.test", -1, 1)), EErrorCode::eWrongHostName)
        << lastDetail;
}

TEST_F(CurlTransportTest, SpeaksNothingOlderThanTls12)
{
    EXPECT_EQ(CodeFrom(GoodIdentity(), TLS1_2_VERSION), EErrorCode::eNone);
    EXPECT_EQ(CodeFrom(GoodIdentity(), TLS1_1_VERSION), EErrorCode::eTls);
}

TEST_F(CurlTransportTest, SaysThatNobodyAnswers)
{
    std::string url;
    {
        const TlsPeer peer(GoodIdentity(), Always(kHello));
        url = peer.Url();
    }
    CurlTransport transport(url, Trust());
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eRefused);
}

TEST_F(CurlTransportTest, SendsABodyWithoutAskingFirst)
{
    std::string head;
    std::string body;
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        head = session.ReadHead();
        body = session.Read(200'000);
        session.Write("HTTP/1.1 201 Created\r\nContent-Length: 0\r\n\r\n");
    });
    CurlTransport transport(peer.Url(), Trust());
    StringSource source(std::string(200'000, 'k'));
    request.method = "PATCH";
    request.target = "/v1/uploads/7";
    request.headers = {{"Upload-Offset", "0"}, {"Content-Type", "application/offset+octet-stream"}};
    request.source = &source;
    EXPECT_EQ(transport.Perform(request, {}).response.status, 201);
    EXPECT_EQ(body, std::string(200'000, 'k'));
    EXPECT_EQ(head.rfind("PATCH /v1/uploads/7 HTTP/1.1\r\n", 0), 0u) << head;
    EXPECT_NE(head.find("\r\nContent-Length: 200000\r\n"), std::string::npos) << head;
    EXPECT_NE(head.find("\r\nContent-Type: application/offset+octet-stream\r\n"),
              std::string::npos);
    EXPECT_EQ(head.find("Expect"), std::string::npos) << head;
}

TEST_F(CurlTransportTest, SendsAnEmptyPostWithItsLength)
{
    std::string head;
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        head = session.ReadHead();
        session.Write("HTTP/1.1 204 No Content\r\n\r\n");
    });
    CurlTransport transport(peer.Url(), Trust());
    request.method = "POST";
    EXPECT_EQ(transport.Perform(request, {}).response.status, 204);
    EXPECT_NE(head.find("\r\nContent-Length: 0\r\n"), std::string::npos) << head;
    EXPECT_EQ(head.find("Content-Type"), std::string::npos) << head;
}

TEST_F(CurlTransportTest, GivesTheBodyToTheSinkThatTakesIt)
{
    TlsPeer peer(GoodIdentity(), Always(kHello));
    CurlTransport transport(peer.Url(), Trust());
    StringSink sink;
    request.sink = &sink;
    EXPECT_EQ(transport.Perform(request, {}).response.body, "");
    EXPECT_EQ(sink.text, "hello");
}

TEST_F(CurlTransportTest, KeepsTheBodyThatTheSinkDoesNotTake)
{
    TlsPeer peer(GoodIdentity(), Always("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\ngone"));
    CurlTransport transport(peer.Url(), Trust());
    StringSink sink;
    request.sink = &sink;
    const HttpOutcome outcome = transport.Perform(request, {});
    EXPECT_EQ(outcome.response.status, 404);
    EXPECT_EQ(outcome.response.body, "gone");
    EXPECT_EQ(sink.text, "");
}

TEST_F(CurlTransportTest, SkipsInterimAnswers)
{
    TlsPeer peer(GoodIdentity(),
                 Always(std::string("HTTP/1.1 103 Early Hints\r\nX: y\r\n\r\n") + kHello));
    CurlTransport transport(peer.Url(), Trust());
    const HttpOutcome outcome = transport.Perform(request, {});
    EXPECT_EQ(outcome.response.status, 200);
    EXPECT_EQ(outcome.response.Header("X"), nullptr);
}

TEST_F(CurlTransportTest, FollowsNoRedirect)
{
    TlsPeer peer(GoodIdentity(), Always("HTTP/1.1 302 Found\r\nLocation: /other\r\n"
                                        "Content-Length: 0\r\n\r\n"));
    CurlTransport transport(peer.Url(), Trust());
    EXPECT_EQ(transport.Perform(request, {}).response.status, 302);
}

TEST_F(CurlTransportTest, SaysThatTheLinkDroppedAndKeepsWhatArrived)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhello");
    });
    CurlTransport transport(peer.Url(), Trust());
    StringSink sink;
    request.sink = &sink;
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eDropped);
    EXPECT_EQ(sink.text, "hello");
}

TEST_F(CurlTransportTest, SaysThatTheLinkDroppedBeforeTheAnswer)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.ReadHead(); });
    CurlTransport transport(peer.Url(), Trust());
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eDropped);
}

TEST_F(CurlTransportTest, GivesUpWhenNothingMoves)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.WaitForEnd(); });
    CurlTransport transport(peer.Url(), Trust());
    request.limits.stallWindow = 100ms;
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eTimeout);
}

TEST_F(CurlTransportTest, GivesUpWhenTooLittleMoves)
{
    std::promise<void> isOver;
    std::future<void> over = isOver.get_future();
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n");
        while (over.wait_for(5ms) != std::future_status::ready)
            session.Write("x");
    });
    CurlTransport transport(peer.Url(), Trust());
    request.limits.stallWindow = 100ms;
    request.limits.stallBytes = 100'000;
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eTimeout);
    isOver.set_value();
}

TEST_F(CurlTransportTest, GivesUpWhenTheTimeIsOver)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.WaitForEnd(); });
    CurlTransport transport(peer.Url(), Trust());
    request.limits.total = 100ms;
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eTimeout);
}

TEST_F(CurlTransportTest, AsksTheAbortCheckWhileItWaits)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.WaitForEnd(); });
    CurlTransport transport(peer.Url(), Trust());
    const std::thread::id self = std::this_thread::get_id();
    std::thread::id asked;
    int count = 0;
    const AbortCheck abort = [&] {
        asked = std::this_thread::get_id();
        return ++count > 4;
    };
    EXPECT_EQ(transport.Perform(request, abort).failure.code, EErrorCode::eAborted);
    EXPECT_EQ(asked, self);
}

TEST_F(CurlTransportTest, WakesUpToAskTheAbortCheck)
{
    std::atomic<bool> isAborted{false};
    std::promise<void> isConnected;
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        session.ReadHead();
        isConnected.set_value();
        session.WaitForEnd();
    });
    CurlTransport transport(peer.Url(), Trust());
    std::thread waker([&] {
        isConnected.get_future().wait();
        isAborted = true;
        transport.Wake();
    });
    EXPECT_EQ(transport.Perform(request, [&] { return isAborted.load(); }).failure.code,
              EErrorCode::eAborted);
    waker.join();
}

TEST_F(CurlTransportTest, ReadsAnAnswerThatComesBeforeTheBodyIsSent)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write("HTTP/1.1 507 Insufficient Storage\r\nContent-Length: 4\r\n"
                      "Connection: close\r\n\r\nfull");
        session.WaitForEnd();
    });
    CurlTransport transport(peer.Url(), Trust());
    StringSource source(std::string(20'000'000, 'k'));
    request.method = "POST";
    request.source = &source;
    const HttpOutcome outcome = transport.Perform(request, {});
    EXPECT_EQ(outcome.response.status, 507) << outcome.failure.detail;
    EXPECT_EQ(outcome.response.body, "full");
}

TEST_F(CurlTransportTest, ADeadConnectionIsReplaced)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello); // and goes, without having said so
    });
    CurlTransport transport(peer.Url(), Trust());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(transport.Perform(request, {}).response.status, 200);
    EXPECT_EQ(peer.ConnectionCount(), 3);
}

} // namespace kesdk::impl
