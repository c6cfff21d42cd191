// Headers of the PROXY protocol.
#include "service/http/ProxyHeader.h"
#include "tests/service/support/ConnectionFixture.h"

#include <gmock/gmock.h>

namespace kelvo::http {
namespace {

using namespace std::string_literals;
using testing::StartsWith;

const std::string binary = "\r\n\r\n\0\r\nQUIT\n"s;
const std::string binaryV4 = binary + "\x21\x11\0\x0c\xcb\0\x71\x07\x7f\0\0\x01\xc3\x50\x20\xfb"s;

TEST(ProxyHeader, TellsTheClientsAddress)
{
    const std::string v6 = binary + "\x21\x21\0\x24"s + "\x20\x01\x0d\xb8"s +
                           std::string(11, '\0') + "\x01"s + std::string(20, '\0');
    for (const auto& [bytes, address] :
         {std::pair("PROXY TCP4 203.0.113.7 10.0.0.1 50000 8443\r\n"s, "203.0.113.7"),
          std::pair("PROXY TCP6 2001:db8::1 ::1 50000 8443\r\n"s, "2001:db8::1"),
          std::pair("PROXY UNKNOWN\r\n"s, ""), std::pair("PROXY UNKNOWN ff:: ff:: 1 2\r\n"s, ""),
          std::pair(binaryV4, "203.0.113.7"), std::pair(v6, "2001:db8::1"),
          std::pair(binary + "\x20\0\0\0"s, ""), std::pair(binary + "\x21\0\0\x02xy"s, "")}) {
        const ProxyHeader header = parseProxyHeader(bytes);
        EXPECT_EQ(header.state, EProxyHeader::Complete) << bytes;
        EXPECT_EQ(header.address, address) << bytes;
    }
}

TEST(ProxyHeader, NeedsNoByteAfterItsEnd)
{
    for (const std::string& whole :
         {"PROXY UNKNOWN\r\n"s, "PROXY TCP4 1.2.3.4 1.2.3.4 1 2\r\n"s, binaryV4}) {
        for (std::size_t had = 0; had < whole.size(); ++had) {
            const ProxyHeader header = parseProxyHeader(whole.substr(0, had));
            ASSERT_EQ(header.state, EProxyHeader::Incomplete) << whole << had;
            EXPECT_GT(header.neededBytes, had);
            EXPECT_LE(header.neededBytes, whole.size());
        }
    }
}

TEST(ProxyHeader, RefusesOtherBytes)
{
    for (const std::string& bytes :
         {"GET / HTTP/1.1\r\n"s, "\x16\x03\x01"s, "PROXY TCP4 203.0.113.7\n\r\n"s,
          "PROXY TCP4 x y 1 2\r\n"s, "PROXY TCP6 203.0.113.7 10.0.0.1 1 2\r\n"s,
          "PROXY TCP9 203.0.113.7 10.0.0.1 1 2\r\n"s, "PROXY "s + std::string(101, 'x'),
          binary + "\x11\x11\0\x0c"s, binary + "\x22\x11\0\x0c"s, binary + "\x21\x11\0\x04xxxx"s,
          binary + "\x21\x21\0\x0cxxxxxxxxxxxx"s, binary + "\x21\x11\xff\xff"s}) {
        EXPECT_EQ(parseProxyHeader(bytes).state, EProxyHeader::Wrong) << bytes;
    }
}

class ProxiedConnection : public test::HttpConnection
{
protected:
    ProxiedConnection()
    {
        limits.trustedProxies = AddressList({"127.0.0.1"});
        limits.proxyProtocol = true;
    }
};

TEST_F(ProxiedConnection, TellsTheApplicationTheClientsAddress)
{
    const std::string request = "GET / HTTP/1.1\r\nHost: h\r\n\r\n";
    EXPECT_THAT(talk("PROXY TCP4 203.0.113.7 10.0.0.1 50000 8443\r\n" + request),
                StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(talk(binaryV4 + request), StartsWith("HTTP/1.1 200 "));
    EXPECT_THAT(application.peers, testing::ElementsAre("203.0.113.7", "203.0.113.7"));
}

TEST_F(ProxiedConnection, ClosesAConnectionWithoutAHeader)
{
    EXPECT_EQ(talk("GET / HTTP/1.1\r\nHost: h\r\n\r\n"), "");
    EXPECT_EQ(application.handled, 0);
}

TEST_F(ProxiedConnection, NeedsNoHeaderFromOtherPeers)
{
    limits.trustedProxies = AddressList({"192.0.2.1"});
    EXPECT_THAT(talk("GET / HTTP/1.1\r\nHost: h\r\n\r\n"), StartsWith("HTTP/1.1 200 "));
    EXPECT_EQ(talk("PROXY UNKNOWN\r\nGET / HTTP/1.1\r\nHost: h\r\n\r\n").rfind("HTTP/1.1 400 ", 0),
              0U);
}

} // namespace
} // namespace kelvo::http
