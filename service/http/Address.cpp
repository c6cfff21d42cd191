#include "service/http/Address.h"

#include "service/base/Encoding.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace kelvo::http {

namespace ip = boost::asio::ip;

namespace {

/** An IPv4 address for a mapped address. Empty if the text is not an address. */
std::optional<ip::address> parse(const std::string& text)
{
    boost::system::error_code failed;
    const ip::address address = ip::make_address(text, failed);
    if (failed) {
        return std::nullopt;
    }
    if (address.is_v6() && address.to_v6().is_v4_mapped()) {
        return ip::make_address_v4(ip::v4_mapped, address.to_v6());
    }
    return address;
}

template <class Bytes>
Bytes cut(Bytes bytes, unsigned bits)
{
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto before = static_cast<unsigned>(8 * i);
        const unsigned kept = bits <= before ? 0 : std::min(bits - before, 8U);
        bytes[i] = static_cast<unsigned char>(bytes[i] & (0xFF00U >> kept));
    }
    return bytes;
}

/** The address with all bits cleared but the first `bits`. */
ip::address cut(const ip::address& address, unsigned bits)
{
    if (address.is_v4()) {
        return ip::address_v4(cut(address.to_v4().to_bytes(), bits));
    }
    return ip::address_v6(cut(address.to_v6().to_bytes(), bits));
}

std::string cutText(const std::string& text, unsigned bitsV4, unsigned bitsV6)
{
    const auto address = parse(text);
    return address ? cut(*address, address->is_v4() ? bitsV4 : bitsV6).to_string() : text;
}

} // namespace

std::string networkOf(const std::string& address)
{
    return cutText(address, 32, 64);
}

std::string mobileNetworkOf(const std::string& address)
{
    return cutText(address, 24, 48);
}

AddressList::AddressList(const std::vector<std::string>& entries)
{
    for (const std::string& entry : entries) {
        const std::size_t slash = entry.find('/');
        const auto address = parse(entry.substr(0, slash));
        const unsigned most = address && address->is_v4() ? 32 : 128;
        const auto bits = slash == std::string::npos ? std::optional<std::uint64_t>(most)
                                                     : parseNumber(entry.substr(slash + 1));
        if (!address || !bits || *bits > most) {
            throw std::invalid_argument("'" + entry + "' is not an address or a network");
        }
        const auto kept = static_cast<unsigned>(*bits);
        networks_.push_back({cut(*address, kept), kept});
    }
}

bool AddressList::contains(const std::string& address) const
{
    const auto parsed = parse(address);
    return parsed && std::any_of(networks_.begin(), networks_.end(), [&](const Network& network) {
               return network.first.is_v4() == parsed->is_v4() &&
                      cut(*parsed, network.bits) == network.first;
           });
}

} // namespace kelvo::http
