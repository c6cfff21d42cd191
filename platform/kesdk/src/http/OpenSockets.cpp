#include "http/OpenSockets.h"

#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace kesdk::impl {

namespace {

// 0 if the socket has no local port.
long LocalPortOf(curl_socket_t socket)
{
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return 0;
    if (address.ss_family == AF_INET)
        return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
    if (address.ss_family == AF_INET6)
        return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
    return 0;
}

} // namespace

void OpenSockets::Serve(CURL* easy)
{
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &OpenSockets::OnOpen);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, &OpenSockets::OnClose);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, this);
}

// libcurl may open several sockets: the port tells which one it took.
curl_socket_t OpenSockets::Of(CURL* easy) const
{
    long port = 0;
    if (curl_easy_getinfo(easy, CURLINFO_LOCAL_PORT, &port) != CURLE_OK || port == 0)
        return CURL_SOCKET_BAD;
    for (const curl_socket_t socket : m_open) {
        if (LocalPortOf(socket) == port)
            return socket;
    }
    return CURL_SOCKET_BAD;
}

OpenSockets::Traffic OpenSockets::Carried() const
{
    Traffic sum;
    for (const curl_socket_t socket : m_open) {
        tcp_info info{};
        socklen_t length = sizeof info;
        if (::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &length) != 0)
            continue;
        sum.ackedBytes += static_cast<std::int64_t>(info.tcpi_bytes_acked);
        sum.receivedBytes += static_cast<std::int64_t>(info.tcpi_bytes_received);
    }
    return sum;
}

curl_socket_t OpenSockets::OnOpen(void* self, curlsocktype, curl_sockaddr* address)
{
    const curl_socket_t socket =
        ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    auto& sockets = *static_cast<OpenSockets*>(self);
    ++sockets.m_openedCount;
    if (socket != CURL_SOCKET_BAD)
        sockets.m_open.push_back(socket);
    return socket;
}

int OpenSockets::OnClose(void* self, curl_socket_t socket)
{
    std::vector<curl_socket_t>& open = static_cast<OpenSockets*>(self)->m_open;
    open.erase(std::remove(open.begin(), open.end(), socket), open.end());
    return ::close(socket);
}

} // namespace kesdk::impl
