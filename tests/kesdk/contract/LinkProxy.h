// A bad link between the SDK and a real service: a proxy that cuts or freezes connections.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

namespace kesdk::test {

// Forwards TCP on the loopback interface, with one thread for each connection.
// Thread safety: safe.
class LinkProxy
{
public:
    explicit LinkProxy(int servicePort);
    // Cuts the open connections.
    ~LinkProxy();
    LinkProxy(const LinkProxy&) = delete;
    LinkProxy& operator=(const LinkProxy&) = delete;

    int Port() const { return m_port; }

    // Resets each of the next connections after `afterBytes`, counted in both directions together.
    void CutNext(int connections, std::int64_t afterBytes);
    void CutAll();
    // A frozen link passes no byte and closes no connection, as when the console leaves a radio
    // cell.
    void SetFrozen(bool isFrozen);

    // Calls `call` once, on a connection's thread, when `bytes` more have gone to the service.
    void CallAfter(std::int64_t bytes, std::function<void()> call);

    int ConnectionCount() const;
    int CutCount() const;
    std::int64_t BytesToService() const;
    std::int64_t BytesFromService() const;

private:
    struct Link
    {
        int client = -1;
        int service = -1;
        std::int64_t mostBytes = -1; // negative = no limit
        std::thread thread;
    };

    void Accept();
    void Forward(Link& link);
    bool Pass(int from, int to, Link& link, std::int64_t& passed);
    void Count(std::int64_t bytes, bool isToService);
    int Connect() const;

    const int m_servicePort;
    int m_listener = -1;
    int m_port = 0;
    mutable std::mutex m_mutex; // guards everything below but the thread
    std::list<Link> m_links;
    bool m_isFrozen = false;
    bool m_isStopping = false;
    std::int64_t m_cutGeneration = 0;
    int m_connections = 0;
    int m_cuts = 0;
    int m_cutNext = 0;
    std::int64_t m_cutAfterBytes = 0;
    std::int64_t m_bytesToService = 0;
    std::int64_t m_bytesFromService = 0;
    std::int64_t m_callAfterBytes = 0;
    std::function<void()> m_call;
    std::thread m_thread;
};

} // namespace kesdk::test
