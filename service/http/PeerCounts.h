// Counts the connections of each address.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace kelvo::http {

/**
 * Bounds the connections of an address, and those of them whose handshake or request head is
 * unfinished. An IPv6 network (/64) counts as one address. All trusted proxies together count as
 * one address; they have their own limits. Thread safe.
 */
class PeerCounts
{
public:
    struct Counts
    {
        std::size_t connections = 0;
        std::size_t heads = 0; // unfinished
    };

    /** The largest counts of one address, and of all trusted proxies together. */
    PeerCounts(const Counts& most, const Counts& mostOfProxies)
        : most_(most), mostOfProxies_(mostOfProxies)
    {}

    /** One connection, counted as long as the ticket lives. */
    class Ticket
    {
    public:
        Ticket(PeerCounts& peers, const std::string& address, bool isProxy = false);
        ~Ticket();
        Ticket(const Ticket&) = delete;
        Ticket& operator=(const Ticket&) = delete;

        /** Whether the address had the largest number of connections before this one. */
        bool isOverLimit() const { return isOverLimit_; }

        /**
         * Counts a handshake or head as begun; a second call has no effect. False if the address
         * has too many unfinished heads: close the connection.
         */
        bool beginHead();
        void endHead();

    private:
        PeerCounts& peers_;
        const Counts& most_;
        std::string network_; // empty for a proxy
        bool isOverLimit_ = false;
        bool hasHead_ = false;
    };

    /** Connections refused because their address had too many connections. */
    std::uint64_t refusedConnections() const { return refusedConnections_; }
    void countRefused() { ++refusedConnections_; }
    /** Connections closed because their address had too many unfinished heads. */
    std::uint64_t refusedHeads() const { return refusedHeads_; }

private:
    const Counts most_;
    const Counts mostOfProxies_;
    std::mutex mutex_; // guards open_
    std::map<std::string, Counts> open_;
    std::atomic<std::uint64_t> refusedConnections_{0};
    std::atomic<std::uint64_t> refusedHeads_{0};
};

} // namespace kelvo::http
