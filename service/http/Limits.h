// Limits on sizes and times for each peer, and the peers that are trusted.
#pragma once

#include "service/http/Address.h"

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace kelvo::http {

using namespace std::chrono_literals;

struct Limits
{
    std::size_t headBytes = std::size_t{16} * 1024;
    std::size_t jsonBytes = std::size_t{64} * 1024;
    /** A smaller unread body is read and dropped; a larger one closes the connection. */
    std::uint64_t drainBytes = std::uint64_t{64} * 1024;
    /** The time for a request head, from its first byte to its last. At 60 B/s 3.6 kB arrive. */
    std::chrono::milliseconds headTime = 60s;
    /** The time for a TLS handshake after the peer's first bytes. At 60 B/s 9 kB arrive. */
    std::chrono::milliseconds handshakeTime = 150s;
    std::chrono::milliseconds idleTime = 75s;
    /** The stall timeout of a body or an answer. */
    std::chrono::milliseconds bodyStall = 60s;
    /**
     * The stall timeout of an answer to a trusted proxy, which ends its slow clients itself. The
     * buffers of the proxy may take nothing for many minutes, then some megabytes.
     */
    std::chrono::milliseconds proxyStall = 1h;
    /**
     * Fewer bytes than this within `bodyStall` count as a stall. One byte a minute must not keep a
     * connection open. A link of 60 B/s may.
     */
    std::uint64_t bodyProgressBytes = 1024;
    /** The time for a whole small body, even if bytes keep arriving. */
    std::chrono::milliseconds jsonTime = 60s;
    /** After the last answer was acknowledged, the peer has this time to close the connection. */
    std::chrono::milliseconds closeTime = 250ms;
    /** The same for a peer that still sends, so that it can read a refusal. */
    std::chrono::milliseconds lingerTime = 2s;
    /** The stall timeout of an answer that is being sent when the service stops. */
    std::chrono::milliseconds stopStall = 1s;
    std::size_t connections = 2000;
    /** For each address; a farm's consoles share an address, a carrier's customers too. */
    std::size_t connectionsPerAddress = 1000;
    std::size_t headsPerAddress = 250; // unfinished
    std::size_t headsOfProxies = 1000; // unfinished, of all trusted proxies together

    /** These peers tell the address of the client whose request they pass on. */
    AddressList trustedProxies;
    /** Whether the connections of trusted proxies begin with a header of the PROXY protocol. */
    bool proxyProtocol = false;
};

} // namespace kelvo::http
