// The PROXY protocol, versions 1 and 2: the first bytes of a connection that a proxy passes on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kelvo::http {

enum class EProxyHeader : std::uint8_t { Incomplete, Complete, Wrong };

struct ProxyHeader
{
    EProxyHeader state = EProxyHeader::Incomplete;
    /** Incomplete: the header has at least this many bytes in all, so a reader takes no more. */
    std::size_t neededBytes = 0;
    /** Complete: the client's address. Empty if the proxy speaks for itself or does not know it. */
    std::string address;
};

ProxyHeader parseProxyHeader(std::string_view bytes);

} // namespace kelvo::http
