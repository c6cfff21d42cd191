// A TLS handshake over a link that carries a few bytes at a time.
#include "support/CurlFixture.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;

// Forwards one connection. The server's bytes pass in pieces, each after a call of Allow.
class SlowRelay
{
public:
    explicit SlowRelay(const std::string& url)
    {
        m_address.sin_family = AF_INET;
        m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof m_address;
        ::bind(m_listener, reinterpret_cast<sockaddr*>(&m_address), length);
        ::listen(m_listener, 1);
        ::getsockname(m_listener, reinterpret_cast<sockaddr*>(&m_address), &length);
        m_port = ntohs(m_address.sin_port);
        m_address.sin_port =
            htons(static_cast<in_port_t>(std::stoi(url.substr(url.rfind(':') + 1))));
        m_thread = std::thread([this] { Run(); });
    }
    ~SlowRelay()
    {
        ::shutdown(m_listener, SHUT_RDWR);
        m_isOpen = true;
        Allow();
        m_thread.join();
        ::close(m_listener);
    }
    SlowRelay(const SlowRelay&) = delete;
    SlowRelay& operator=(const SlowRelay&) = delete;

    std::string Url() const { return "https://127.0.0.1:" + std::to_string(m_port); }
    void Allow()
    {
        {
            const std::lock_guard lock(m_mutex);
            ++m_allowed;
        }
        m_changed.notify_all();
    }
    // From now on all bytes pass at once.
    void Open()
    {
        m_isOpen = true;
        Allow();
    }
    int PieceCount() const { return m_pieces; }

private:
    static constexpr std::size_t kPieceBytes = 100;

    void Run()
    {
        const int client = ::accept(m_listener, nullptr, nullptr);
        if (client < 0)
            return;
        const int server = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        ::connect(server, reinterpret_cast<const sockaddr*>(&m_address), sizeof m_address);
        std::thread up([&] { Forward(client, server, false); });
        Forward(server, client, true);
        ::shutdown(client, SHUT_RDWR);
        up.join();
        ::close(client);
        ::close(server);
    }
    void Forward(int from, int to, bool isSlow)
    {
        std::array<char, kPieceBytes> piece{};
        for (;;) {
            const ssize_t got = ::recv(from, piece.data(), piece.size(), 0);
            if (got <= 0)
                break;
            if (isSlow && !m_isOpen) {
                std::unique_lock lock(m_mutex);
                m_changed.wait(lock, [this] { return m_allowed > 0; });
                --m_allowed;
                ++m_pieces;
            }
            if (::send(to, piece.data(), static_cast<std::size_t>(got), MSG_NOSIGNAL) <= 0)
                break;
        }
        ::shutdown(to, SHUT_WR);
    }

    sockaddr_in m_address{};
    int m_listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int m_port = 0;
    std::atomic<bool> m_isOpen{false};
    std::atomic<int> m_pieces{0};
    std::mutex m_mutex; // guards m_allowed
    std::condition_variable m_changed;
    int m_allowed = 0;
    std::thread m_thread;
};

using CurlHandshake = CurlTransportTest;

} // namespace

TEST_F(CurlHandshake, TakesTheTimeThatItsBytesNeed)
{
    TlsPeer peer(GoodIdentity(), Always(kHello));
    SlowRelay relay(peer.Url());
    CurlTransport transport(relay.Url(), Trust());
    request.limits.handshake = 1200ms; // some pieces, and less than all of them take
    const auto begin = std::chrono::steady_clock::now();
    auto last = begin;
    const AbortCheck look = [&] {
        const auto now = std::chrono::steady_clock::now();
        if (now - begin > 2 * request.limits.handshake) {
            relay.Open();
        } else if (now - last > 100ms) {
            last = now;
            relay.Allow();
        }
        return false;
    };
    const HttpOutcome outcome = transport.Perform(request, look);
    EXPECT_EQ(outcome.response.status, 200) << outcome.failure.detail;
    EXPECT_GT(relay.PieceCount(), 3);
}

TEST_F(CurlHandshake, EndsWhenNoByteArrives)
{
    TlsPeer peer(GoodIdentity(), Always(kHello));
    SlowRelay relay(peer.Url());
    CurlTransport transport(relay.Url(), Trust());
    request.limits.handshake = 300ms;
    const Failure failure = transport.Perform(request, {}).failure;
    EXPECT_EQ(failure.code, EErrorCode::eConnectTimeout) << failure.detail;
}

} // namespace kesdk::impl
