// Groups of IP addresses: the network of one subscriber, its neighbours, lists of networks.
#pragma once

#include <boost/asio/ip/address.hpp>

#include <string>
#include <vector>

namespace kelvo::http {

/**
 * The network that counts as one peer: an IPv4 address, or the /64 network of an IPv6 address. Its
 * owner can use all addresses in it. A mapped IPv4 address is its IPv4 address. Another text is
 * returned unchanged.
 */
std::string networkOf(const std::string& address);

/**
 * The network in which a mobile link usually gets its next address: /24 for IPv4, /48 for IPv6.
 * Another text is returned unchanged.
 */
std::string mobileNetworkOf(const std::string& address);

/** Addresses and networks such as 192.0.2.1, 192.0.2.0/24 and 2001:db8::/32. */
class AddressList
{
public:
    AddressList() = default;

    /** Throws std::invalid_argument with a sentence for the user. */
    explicit AddressList(const std::vector<std::string>& entries);

    /** False if the text is not an address. */
    bool contains(const std::string& address) const;

    bool isEmpty() const { return networks_.empty(); }

private:
    struct Network
    {
        boost::asio::ip::address first;
        unsigned bits = 0;
    };
    std::vector<Network> networks_;
};

} // namespace kelvo::http
