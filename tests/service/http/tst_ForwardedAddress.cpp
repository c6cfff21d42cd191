// The client's address in the fields of trusted proxies.
#include "service/http/ForwardedAddress.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace kelvo::http {
namespace {

class Forwarded : public testing::Test
{
protected:
    std::string client(const std::vector<std::pair<std::string, std::string>>& lines,
                       const std::string& peer = "10.0.0.1")
    {
        RequestHead head;
        for (const auto& [name, value] : lines) {
            head.fields.insert(name, value);
        }
        return clientAddress(head, peer, AddressList({"10.0.0.0/8", "fd00::/8"}));
    }
};

TEST_F(Forwarded, IgnoresTheFieldFromAStranger)
{
    EXPECT_EQ(client({{"X-Forwarded-For", "192.0.2.1"}}, "203.0.113.7"), "203.0.113.7");
    EXPECT_EQ(client({{"Forwarded", "for=192.0.2.1"}}, "203.0.113.7"), "203.0.113.7");
}

TEST_F(Forwarded, TellsTheAddressThatTheLastProxySaw)
{
    EXPECT_EQ(client({}), "10.0.0.1");
    EXPECT_EQ(client({{"X-Forwarded-For", "192.0.2.1"}}), "192.0.2.1");
    EXPECT_EQ(client({{"X-Forwarded-For", "1.1.1.1, 192.0.2.1"}}), "192.0.2.1")
        << "a client writes the front";
    EXPECT_EQ(client({{"X-Forwarded-For", "192.0.2.1, 10.9.9.9"}}), "192.0.2.1") << "two proxies";
    EXPECT_EQ(client({{"X-Forwarded-For", "1.1.1.1"}, {"X-Forwarded-For", "192.0.2.1"}}),
              "192.0.2.1");
    EXPECT_EQ(client({{"X-Forwarded-For", "10.1.1.1, 10.2.2.2"}}), "10.1.1.1");
}

TEST_F(Forwarded, ReadsTheFieldInAllItsForms)
{
    EXPECT_EQ(client({{"Forwarded", "for=192.0.2.60;proto=https;by=10.0.0.1"}}), "192.0.2.60");
    EXPECT_EQ(client({{"Forwarded", "by=10.0.0.1; For=\"[2001:db8:cafe::17]:4711\""}}),
              "2001:db8:cafe::17");
    EXPECT_EQ(client({{"Forwarded", "for=\"192.0.2.43:47011\", for=10.3.3.3"}}), "192.0.2.43");
    EXPECT_EQ(client({{"Forwarded", "for=\"a,b;c\", for=192.0.2.43"}}), "192.0.2.43");
    EXPECT_EQ(client({{"X-Forwarded-For", "192.0.2.43:1234"}}), "192.0.2.43");
    EXPECT_EQ(client({{"X-Forwarded-For", "2001:db8::1"}}), "2001:db8::1");
}

TEST_F(Forwarded, StopsAtANameThatIsNoAddress)
{
    EXPECT_EQ(client({{"Forwarded", "for=192.0.2.1, for=_hidden"}}), "10.0.0.1");
    EXPECT_EQ(client({{"Forwarded", "for=192.0.2.1, for=unknown, for=10.5.5.5"}}), "10.5.5.5");
    EXPECT_EQ(client({{"X-Forwarded-For", ",,"}}), "10.0.0.1");
    EXPECT_EQ(client({{"Forwarded", "for=["}}), "10.0.0.1");
}

TEST_F(Forwarded, BelievesNeitherFieldIfBothAreThere)
{
    EXPECT_EQ(client({{"X-Forwarded-For", "192.0.2.1"}, {"Forwarded", "for=9.9.9.9"}}), "10.0.0.1");
}

TEST_F(Forwarded, AClientThatLeavesAQuoteOpenCannotChooseItsAddress)
{
    EXPECT_EQ(client({{"X-Forwarded-For", "\", 192.0.2.1"}}), "192.0.2.1")
        << "this field has no quotes";
    EXPECT_EQ(client({{"X-Forwarded-For", "9.9.9.9:\""}, {"X-Forwarded-For", "192.0.2.1"}}),
              "192.0.2.1");
    EXPECT_EQ(client({{"Forwarded", "for=9.9.9.9;x=\""}, {"Forwarded", "for=192.0.2.1"}}),
              "10.0.0.1");
    EXPECT_EQ(client({{"X-Forwarded-For", "9.9.9.9:x"}}), "10.0.0.1");
}

} // namespace
} // namespace kelvo::http
