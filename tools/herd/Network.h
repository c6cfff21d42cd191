// The state that all connections of the herd share.
#pragma once

#include "tools/herd/Async.h"
#include "tools/herd/ClientContext.h"
#include "tools/herd/Figures.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

namespace herd {

class Link;

struct Server
{
    std::string address; // HOST:PORT
    std::string host;
    std::vector<asio::ip::tcp::endpoint> endpoints;
};

/** Blocks. Throws std::runtime_error with a sentence for the operator. */
Server resolve(const std::string& address);

struct Network
{
    ClientContext tls;
    std::vector<Server> servers;
    Figures figures;
    std::unordered_set<Link*> links;
    std::size_t connections = 0;     // that are open
    std::size_t keptConnections = 0; // above this number, a link for short requests keeps none
    asio::io_context io{1}; // the last member: its end destroys coroutines that use the others

    /** Ends the requests that have waited too long. Called a few times a second. */
    void expireLinks();
};

} // namespace herd
