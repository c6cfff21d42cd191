// The transport against a real TLS peer: the requests that it sends, and the answers that it reads.
#include "support/CurlFixture.h"

namespace kesdk::impl {

namespace {

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

TEST_F(CurlTransportTest, ReportsARefusedConnection)
{
    std::string url;
    {
        const TlsPeer peer(GoodIdentity(), Always(kHello));
        url = peer.Url();
    }
    CurlTransport transport(url, Trust());
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eRefused);
}

TEST_F(CurlTransportTest, SendsABodyWithoutExpectContinue)
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

TEST_F(CurlTransportTest, GivesTheBodyToASinkThatAcceptsIt)
{
    TlsPeer peer(GoodIdentity(), Always(kHello));
    CurlTransport transport(peer.Url(), Trust());
    StringSink sink;
    request.sink = &sink;
    EXPECT_EQ(transport.Perform(request, {}).response.body, "");
    EXPECT_EQ(sink.text, "hello");
}

TEST_F(CurlTransportTest, KeepsTheBodyInTheAnswerWhenTheSinkRefusesIt)
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

TEST_F(CurlTransportTest, SkipsInformationalAnswers)
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
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write("HTTP/1.1 302 Found\r\nLocation: /other\r\nContent-Length: 0\r\n\r\n");
        while (!session.ReadHead().empty())
            session.Write(kHello);
    });
    CurlTransport transport(peer.Url(), Trust());
    EXPECT_EQ(transport.Perform(request, {}).response.status, 302);
}

TEST_F(CurlTransportTest, ReportsADropAndKeepsTheBytesThatArrived)
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

TEST_F(CurlTransportTest, ReadsAnAnswerThatComesBeforeTheWholeBodyIsSent)
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

} // namespace kesdk::impl
