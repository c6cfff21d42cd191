#include "tools/herd/Network.h"

#include "tools/herd/Link.h"

#include <stdexcept>

namespace herd {

Server resolve(const std::string& address)
{
    const std::size_t colon = address.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == address.size()) {
        throw std::runtime_error("--server: \"" + address + "\" is not HOST:PORT");
    }
    Server server{address, address.substr(0, colon), {}};
    if (server.host.size() > 2 && server.host.front() == '[' && server.host.back() == ']') {
        server.host = server.host.substr(1, server.host.size() - 2);
    }
    asio::io_context context;
    boost::system::error_code error;
    for (const auto& entry :
         asio::ip::tcp::resolver(context).resolve(server.host, address.substr(colon + 1), error)) {
        server.endpoints.push_back(entry.endpoint());
    }
    if (error || server.endpoints.empty()) {
        throw std::runtime_error("--server: " + address + " is not known: " + error.message());
    }
    return server;
}

void Network::expireLinks()
{
    const Clock::time_point now = Clock::now();
    for (Link* link : links) {
        link->expire(now);
    }
}

} // namespace herd
