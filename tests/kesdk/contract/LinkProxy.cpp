#include "contract/LinkProxy.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace kesdk::test {

namespace {

constexpr int kPollMs = 10;

sockaddr_in Loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

void SendAtOnce(int socket)
{
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

// Resets the connection, so the peer loses the bytes on the way.
void Cut(int socket)
{
    const linger abrupt{1, 0};
    ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &abrupt, sizeof abrupt);
    ::close(socket);
}

bool SendAll(int socket, const char* bytes, std::size_t sizeBytes)
{
    while (sizeBytes > 0) {
        const ssize_t sent = ::send(socket, bytes, sizeBytes, MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        bytes += sent;
        sizeBytes -= static_cast<std::size_t>(sent);
    }
    return true;
}

} // namespace

LinkProxy::LinkProxy(int servicePort) : m_servicePort(servicePort)
{
    m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = Loopback(0);
    socklen_t length = sizeof address;
    ::bind(m_listener, reinterpret_cast<sockaddr*>(&address), length);
    ::listen(m_listener, 16);
    ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length);
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { Accept(); });
}

LinkProxy::~LinkProxy()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    ::shutdown(m_listener, SHUT_RDWR); // ends the accept
    m_thread.join();
    ::close(m_listener);
    for (Link& link : m_links)
        link.thread.join();
}

void LinkProxy::CutNext(int connections, std::int64_t afterBytes)
{
    const std::lock_guard lock(m_mutex);
    m_cutNext = connections;
    m_cutAfterBytes = afterBytes;
}

void LinkProxy::CutAll()
{
    const std::lock_guard lock(m_mutex);
    ++m_cutGeneration;
}

void LinkProxy::SetFrozen(bool isFrozen)
{
    const std::lock_guard lock(m_mutex);
    m_isFrozen = isFrozen;
}

void LinkProxy::CallAfter(std::int64_t bytes, std::function<void()> call)
{
    const std::lock_guard lock(m_mutex);
    m_callAfterBytes = m_bytesToService + bytes;
    m_call = std::move(call);
}

int LinkProxy::ConnectionCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_connections;
}

int LinkProxy::CutCount() const
{
    const std::lock_guard lock(m_mutex);
    return m_cuts;
}

std::int64_t LinkProxy::BytesToService() const
{
    const std::lock_guard lock(m_mutex);
    return m_bytesToService;
}

std::int64_t LinkProxy::BytesFromService() const
{
    const std::lock_guard lock(m_mutex);
    return m_bytesFromService;
}

void LinkProxy::Accept()
{
    for (;;) {
        const int client = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0)
            return;
        const int service = Connect();
        SendAtOnce(client);
        SendAtOnce(service);
        const std::lock_guard lock(m_mutex);
        ++m_connections;
        Link& link = m_links.emplace_back();
        link.client = client;
        link.service = service;
        if (m_cutNext > 0) {
            --m_cutNext;
            link.mostBytes = m_cutAfterBytes;
        }
        link.thread = std::thread([this, &link] { Forward(link); });
    }
}

int LinkProxy::Connect() const
{
    const int service = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = Loopback(m_servicePort);
    ::connect(service, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    return service;
}

void LinkProxy::Forward(Link& link)
{
    std::int64_t generation = 0;
    {
        const std::lock_guard lock(m_mutex);
        generation = m_cutGeneration;
    }
    std::int64_t passed = 0;
    for (bool isOpen = true; isOpen;) {
        bool isFrozen = false;
        {
            const std::lock_guard lock(m_mutex);
            isOpen = !m_isStopping && generation == m_cutGeneration;
            isFrozen = m_isFrozen;
        }
        std::array<pollfd, 2> ends{{{link.client, POLLIN, 0}, {link.service, POLLIN, 0}}};
        const nfds_t watched = isFrozen ? 0 : ends.size();
        if (!isOpen || ::poll(ends.data(), watched, kPollMs) <= 0 || isFrozen)
            continue;
        if (ends[0].revents != 0)
            isOpen = Pass(link.client, link.service, link, passed);
        if (isOpen && ends[1].revents != 0)
            isOpen = Pass(link.service, link.client, link, passed);
    }
    Cut(link.client);
    ::close(link.service); // closed in order, so the bytes that passed arrive
}

bool LinkProxy::Pass(int from, int to, Link& link, std::int64_t& passed)
{
    std::array<char, 16 * 1024> bytes{};
    const ssize_t got = ::recv(from, bytes.data(), bytes.size(), 0);
    if (got <= 0)
        return false;
    std::int64_t part = got;
    if (link.mostBytes >= 0)
        part = std::min(part, link.mostBytes - passed);
    passed += part;
    const bool isSent = SendAll(to, bytes.data(), static_cast<std::size_t>(part));
    Count(part, to == link.service);
    const std::lock_guard lock(m_mutex);
    if (part < got)
        ++m_cuts;
    return isSent && part == got;
}

void LinkProxy::Count(std::int64_t bytes, bool isToService)
{
    std::function<void()> call;
    {
        const std::lock_guard lock(m_mutex);
        (isToService ? m_bytesToService : m_bytesFromService) += bytes;
        if (m_call && m_bytesToService >= m_callAfterBytes)
            call.swap(m_call);
    }
    if (call)
        call();
}

} // namespace kesdk::test
