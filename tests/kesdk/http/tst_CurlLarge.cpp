// Bodies above 4 GiB: the length that the transport sends, and the length that it reads.
#include "support/CurlFixture.h"

namespace kesdk::impl {

namespace {

// Cut to 32 bits, this length is 5.
constexpr std::int64_t kLargeBytes = (std::int64_t{1} << 32) + 5;

// Claims `kLargeBytes` and fails after the first byte.
class LargeSource : public BodySource
{
public:
    std::int64_t LengthBytes() const override { return kLargeBytes; }
    std::ptrdiff_t Read(char* buffer, std::size_t) override
    {
        if (m_hasRead)
            return -1;
        m_hasRead = true;
        buffer[0] = 'k';
        return 1;
    }

private:
    bool m_hasRead = false;
};

class CountingSink : public BodySink
{
public:
    bool Accept(const HttpResponse& head) override { return head.IsSuccess(); }
    bool Write(const char* bytes, std::size_t sizeBytes) override
    {
        text.append(bytes, sizeBytes);
        return true;
    }
    std::string text;
};

using CurlLarge = CurlTransportTest;

} // namespace

TEST_F(CurlLarge, SendsTheFullLengthOfABody)
{
    std::string head;
    {
        TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
            head = session.ReadHead();
            session.WaitForEnd();
        });
        CurlTransport transport(peer.Url(), Trust());
        LargeSource source;
        request.method = "PATCH";
        request.source = &source;
        EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eFileUnreadable);
    }
    EXPECT_NE(head.find("\r\nContent-Length: 4294967301\r\n"), std::string::npos) << head;
}

// Cut to 32 bits, each length is 5 or less. A wrong reader would take five bytes for the whole
// body.
TEST_F(CurlLarge, TreatsABodyShorterThanItsLengthAsDropped)
{
    for (const char* length : {"4294967301", "2147483653", "9223372036854775807"}) {
        TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
            session.ReadHead();
            session.Write(std::string("HTTP/1.1 206 Partial Content\r\nContent-Length: ") + length +
                          "\r\n\r\nhello");
        });
        CurlTransport transport(peer.Url(), Trust());
        CountingSink sink;
        request.sink = &sink;
        EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eDropped) << length;
        EXPECT_EQ(sink.text, "hello") << length;
    }
}

} // namespace kesdk::impl
