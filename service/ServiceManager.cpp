#include "service/ServiceManager.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/local/datagram_protocol.hpp>

#include <cstdlib>

namespace kelvo {

namespace {

using Socket = boost::asio::local::datagram_protocol::socket;

} // namespace

void tellServiceManager(const std::string& state)
{
    const char* const variable = std::getenv("NOTIFY_SOCKET");
    std::string path = variable == nullptr ? "" : variable;
    if (path.empty()) {
        return;
    }
    if (path.front() == '@') {
        path.front() = '\0'; // a name that is not in the file system
    }
    boost::asio::io_context context;
    Socket socket(context);
    boost::system::error_code ignored;
    socket.open({}, ignored);
    socket.non_blocking(true, ignored);
    socket.send_to(boost::asio::buffer(state), path, 0, ignored);
}

} // namespace kelvo
