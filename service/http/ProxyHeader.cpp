#include "service/http/ProxyHeader.h"

#include <boost/asio/ip/address.hpp>

#include <algorithm>

namespace kelvo::http {

namespace ip = boost::asio::ip;
using namespace std::string_view_literals;

namespace {

// The values come from the protocol's document, "The PROXY protocol, versions 1 & 2".
constexpr std::string_view textStart = "PROXY "sv;
constexpr std::string_view shortestText = "PROXY UNKNOWN\r\n"sv;
constexpr std::size_t longestText = 107;
constexpr std::string_view binaryStart = "\r\n\r\n\0\r\nQUIT\n"sv;
constexpr std::size_t binaryFixedBytes = 16;
constexpr std::size_t longestBinary = 2048; // room for the fields that follow the addresses

constexpr ProxyHeader wrong{EProxyHeader::Wrong, 0, {}};

ProxyHeader needs(std::size_t bytes)
{
    return {EProxyHeader::Incomplete, bytes, {}};
}

bool mayStartWith(std::string_view bytes, std::string_view start)
{
    const std::size_t both = std::min(bytes.size(), start.size());
    return bytes.substr(0, both) == start.substr(0, both);
}

/** PROXY TCP4 SOURCE DESTINATION SOURCEPORT DESTINATIONPORT */
ProxyHeader parseText(std::string_view bytes)
{
    if (bytes.size() < shortestText.size()) {
        return needs(shortestText.size());
    }
    if (!bytes.ends_with("\r\n")) {
        return bytes.size() < longestText ? needs(bytes.size() + 1) : wrong;
    }
    std::string_view rest = bytes.substr(textStart.size());
    const std::string_view family = rest.substr(0, rest.find_first_of(" \r"));
    if (family == "UNKNOWN") {
        return {EProxyHeader::Complete, 0, {}};
    }
    rest.remove_prefix(std::min(rest.size(), family.size() + 1));
    boost::system::error_code failed;
    const auto source = ip::make_address(std::string(rest.substr(0, rest.find(' '))), failed);
    const bool isFamily = family == (source.is_v4() ? "TCP4" : "TCP6");
    return failed || !isFamily ? wrong : ProxyHeader{EProxyHeader::Complete, 0, source.to_string()};
}

template <class Address>
std::string addressAt(std::string_view bytes)
{
    typename Address::bytes_type raw{};
    std::copy_n(bytes.begin() + binaryFixedBytes, raw.size(), raw.begin());
    return Address(raw).to_string();
}

ProxyHeader parseBinary(std::string_view bytes)
{
    if (bytes.size() < binaryFixedBytes) {
        return needs(binaryFixedBytes);
    }
    const auto byteAt = [bytes](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
    const unsigned command = byteAt(12);
    const unsigned family = byteAt(13);
    const std::size_t addressBytes = byteAt(14) * 256U + byteAt(15);
    if ((command != 0x20 && command != 0x21) || binaryFixedBytes + addressBytes > longestBinary) {
        return wrong;
    }
    if (bytes.size() < binaryFixedBytes + addressBytes) {
        return needs(binaryFixedBytes + addressBytes);
    }
    if (command == 0x20) { // LOCAL: the proxy checks the service
        return {EProxyHeader::Complete, 0, {}};
    }
    if (family == 0x11) {
        return addressBytes < 12
                   ? wrong
                   : ProxyHeader{EProxyHeader::Complete, 0, addressAt<ip::address_v4>(bytes)};
    }
    if (family == 0x21) {
        return addressBytes < 36
                   ? wrong
                   : ProxyHeader{EProxyHeader::Complete, 0, addressAt<ip::address_v6>(bytes)};
    }
    return {EProxyHeader::Complete, 0, {}};
}

} // namespace

ProxyHeader parseProxyHeader(std::string_view bytes)
{
    if (mayStartWith(bytes, textStart)) {
        return parseText(bytes);
    }
    return mayStartWith(bytes, binaryStart) ? parseBinary(bytes) : wrong;
}

} // namespace kelvo::http
