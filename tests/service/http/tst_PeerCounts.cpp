// The bounds on the connections and unfinished heads of an address.
#include "service/http/PeerCounts.h"
#include "tests/service/support/ConnectionFixture.h"

#include <gmock/gmock.h>

#include <optional>

namespace kelvo::http {
namespace {

using test::HttpConnection;
using testing::StartsWith;

constexpr PeerCounts::Counts proxies{10, 1};

TEST(PeerCounts, RefusesMoreConnectionsOfOneAddress)
{
    PeerCounts peers({2, 10}, proxies);
    std::optional<PeerCounts::Ticket> first(std::in_place, peers, "10.0.0.1");
    const PeerCounts::Ticket second(peers, "10.0.0.1");
    EXPECT_FALSE(second.isOverLimit());
    const PeerCounts::Ticket other(peers, "10.0.0.2");
    EXPECT_FALSE(other.isOverLimit());
    {
        const PeerCounts::Ticket third(peers, "::ffff:10.0.0.1");
        EXPECT_TRUE(third.isOverLimit());
    }
    first.reset();
    const PeerCounts::Ticket next(peers, "10.0.0.1");
    EXPECT_FALSE(next.isOverLimit());
}

TEST(PeerCounts, RefusesMoreUnfinishedHeadsOfOneNetwork)
{
    PeerCounts peers({10, 1}, proxies);
    PeerCounts::Ticket first(peers, "2001:db8::1");
    PeerCounts::Ticket second(peers, "2001:db8::2");
    EXPECT_TRUE(first.beginHead());
    EXPECT_TRUE(first.beginHead());
    EXPECT_FALSE(second.beginHead());
    EXPECT_EQ(peers.refusedHeads(), 1U);
    first.endHead();
    EXPECT_TRUE(second.beginHead());
    second.endHead();
    {
        PeerCounts::Ticket leaving(peers, "2001:db8::3");
        EXPECT_TRUE(leaving.beginHead());
    }
    EXPECT_TRUE(first.beginHead()) << "a closed connection has no unfinished head";
}

TEST(PeerCounts, CountsAllProxiesTogether)
{
    PeerCounts peers({1, 1}, {10, 2});
    PeerCounts::Ticket first(peers, "10.0.0.1", true);
    PeerCounts::Ticket second(peers, "10.0.0.2", true);
    PeerCounts::Ticket third(peers, "10.0.0.3", true);
    EXPECT_FALSE(third.isOverLimit());
    EXPECT_TRUE(first.beginHead());
    EXPECT_TRUE(second.beginHead());
    EXPECT_FALSE(third.beginHead());
    EXPECT_EQ(peers.refusedHeads(), 1U);
    PeerCounts::Ticket client(peers, "10.0.0.1");
    EXPECT_TRUE(client.beginHead());
    first.endHead();
    EXPECT_TRUE(third.beginHead());
}

class CountedConnection : public HttpConnection
{
protected:
    std::string talkCounted(const std::string& text, PeerCounts& peers, bool refuse = false)
    {
        counts = &peers;
        return talk(text, refuse);
    }
};

TEST_F(CountedConnection, AnswersBusyAboveTheLimitOfAnAddress)
{
    PeerCounts peers({1, 10}, proxies);
    EXPECT_THAT(talkCounted("GET / HTTP/1.1\r\nHost: h\r\n\r\n", peers),
                StartsWith("HTTP/1.1 200 "));
    const PeerCounts::Ticket open(peers, "127.0.0.1");
    EXPECT_THAT(talkCounted("GET / HTTP/1.1\r\nHost: h\r\n\r\n", peers),
                StartsWith("HTTP/1.1 503 "));
    EXPECT_EQ(peers.refusedConnections(), 1U);
    limits.trustedProxies = AddressList({"127.0.0.0/8"});
    EXPECT_THAT(talkCounted("GET / HTTP/1.1\r\nHost: h\r\n\r\n", peers),
                StartsWith("HTTP/1.1 200 "));
}

TEST_F(CountedConnection, CountsARefusedConnectionOnce)
{
    PeerCounts peers({0, 10}, {0, 10});
    const std::string header = "PROXY TCP4 192.0.2.1 192.0.2.2 1000 443\r\n";
    const std::string request = "GET / HTTP/1.1\r\nHost: h\r\n\r\n";
    EXPECT_THAT(talkCounted(request, peers, true), StartsWith("HTTP/1.1 503 "));
    EXPECT_EQ(peers.refusedConnections(), 0U) << "the listener has counted it";
    limits.trustedProxies = AddressList({"127.0.0.1"});
    limits.proxyProtocol = true;
    EXPECT_THAT(talkCounted(header + request, peers), StartsWith("HTTP/1.1 503 "));
    EXPECT_EQ(peers.refusedConnections(), 1U);
}

TEST_F(CountedConnection, ClosesTheConnectionAboveTheLimitOfUnfinishedHeads)
{
    PeerCounts peers({10, 1}, proxies);
    const std::string two = "GET / HTTP/1.1\r\nHost: h\r\n\r\nGET / HTTP/1.1\r\nHost: h\r\n\r\n";
    EXPECT_EQ(countAnswers(talkCounted(two, peers)), 2) << "each head ends before the next begins";
    PeerCounts::Ticket open(peers, "127.0.0.1");
    EXPECT_TRUE(open.beginHead());
    EXPECT_EQ(talkCounted(two, peers), "");
    EXPECT_EQ(peers.refusedHeads(), 1U);
}

TEST_F(CountedConnection, ClosesAProxysConnectionAboveTheLimitOfUnfinishedHeads)
{
    PeerCounts peers({10, 10}, proxies);
    limits.trustedProxies = AddressList({"127.0.0.1"});
    const std::string request = "GET / HTTP/1.1\r\nHost: h\r\n\r\n";
    for (const std::string header : {"", "PROXY TCP4 192.0.2.1 192.0.2.2 1000 443\r\n"}) {
        limits.proxyProtocol = !header.empty();
        EXPECT_THAT(talkCounted(header + request, peers), StartsWith("HTTP/1.1 200 "));
        PeerCounts::Ticket open(peers, "127.0.0.2", true);
        EXPECT_TRUE(open.beginHead()) << "a finished connection still counts";
        EXPECT_EQ(talkCounted(header + request, peers), "");
    }
    EXPECT_EQ(peers.refusedHeads(), 2U);
}

} // namespace
} // namespace kelvo::http
