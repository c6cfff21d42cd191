// How much and how long a peer may take.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace kelvo::http {

using namespace std::chrono_literals;

struct Limits
{
    std::size_t headBytes = 16 * 1024;
    std::size_t jsonBytes = 64 * 1024;
    /** An unread body up to this size is read and dropped; a larger one costs the connection. */
    std::uint64_t drainBytes = 64 * 1024;
    std::chrono::milliseconds headTime = 15s; // from its first byte to its last
    std::chrono::milliseconds idleTime = 75s;
    /** So long a body or a reply may stand still. */
    std::chrono::milliseconds bodyStall = 60s;
    /** Less of a body or of a reply than this within bodyStall counts as standing still: a byte a
     * minute must not hold a connection, the slowest link of a field should. */
    std::uint64_t bodyProgressBytes = 1024;
    /** For a small body as a whole, whatever comes of it meanwhile. */
    std::chrono::milliseconds jsonTime = 60s;
    /** How long a refused peer may go on sending so that it gets to read the refusal. */
    std::chrono::milliseconds lingerTime = 2s;
    /** A reply that is on its way when the service stops goes on while the peer takes some of it.
     */
    std::chrono::milliseconds stopStall = 1s;
    std::size_t connections = 2000;
};

} // namespace kelvo::http
