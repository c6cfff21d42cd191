// Networks of addresses, and lists of networks.
#include "service/http/Address.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace kelvo::http {
namespace {

TEST(Address, NetworkIsAnIpv4AddressOrAnIpv6Subnet)
{
    EXPECT_EQ(networkOf("10.1.2.3"), "10.1.2.3");
    EXPECT_EQ(networkOf("::ffff:10.1.2.3"), "10.1.2.3");
    EXPECT_EQ(networkOf("2001:db8:1:2:ffff::1"), "2001:db8:1:2::");
    EXPECT_EQ(networkOf("not an address"), "not an address");
}

TEST(Address, NeighbourhoodIsWider)
{
    EXPECT_EQ(mobileNetworkOf("10.1.2.3"), "10.1.2.0");
    EXPECT_EQ(mobileNetworkOf("::ffff:10.1.2.3"), "10.1.2.0");
    EXPECT_EQ(mobileNetworkOf("2001:db8:1:2:ffff::1"), "2001:db8:1::");
}

TEST(AddressList, ContainsItsAddressesAndNetworks)
{
    const AddressList list({"192.0.2.1", "10.0.0.0/9", "2001:db8::/33", "::1"});
    EXPECT_FALSE(list.isEmpty());
    EXPECT_TRUE(list.contains("192.0.2.1"));
    EXPECT_TRUE(list.contains("::ffff:192.0.2.1"));
    EXPECT_FALSE(list.contains("192.0.2.2"));
    EXPECT_TRUE(list.contains("10.127.255.255"));
    EXPECT_FALSE(list.contains("10.128.0.0"));
    EXPECT_TRUE(list.contains("2001:db8:7fff::1"));
    EXPECT_FALSE(list.contains("2001:db8:8000::1"));
    EXPECT_TRUE(list.contains("::1"));
    EXPECT_FALSE(list.contains("")) << "an unknown peer is in no list";
    EXPECT_TRUE(AddressList({"0.0.0.0/0"}).contains("203.0.113.9"));
    EXPECT_FALSE(AddressList({"0.0.0.0/0"}).contains("::1"));
}

TEST(AddressList, RefusesOtherTexts)
{
    for (const char* entry : {"", "localhost", "10.0.0.0/33", "10.0.0.0/", "10.0.0.0/x", "/8",
                              "10.0.0.0/8/8", "2001:db8::/129"}) {
        EXPECT_THROW(AddressList({entry}), std::invalid_argument) << entry;
    }
}

} // namespace
} // namespace kelvo::http
