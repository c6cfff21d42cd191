// Connections that drop, stall or die without a sign, and when the transport gives them up.
#include "http/CurlTransfer.h"
#include "support/CurlFixture.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <future>
#include <memory>
#include <mutex>
#include <utility>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;

using CurlLink = CurlTransportTest;

// Small enough for the kernel's send and receive buffers together.
constexpr std::int64_t kHeldBytes = 768 * 1024;
// The peer's receive buffer, independent of the system's defaults.
constexpr int kPeerBufferBytes = 64 * 1024;

class Zeros : public BodySource
{
public:
    explicit Zeros(std::int64_t sizeBytes) : m_sizeBytes(sizeBytes) {}
    std::int64_t LengthBytes() const override { return m_sizeBytes; }
    std::ptrdiff_t Read(char* buffer, std::size_t sizeBytes) override
    {
        const auto given = static_cast<std::size_t>(
            std::min(m_sizeBytes - m_givenBytes, static_cast<std::int64_t>(sizeBytes)));
        std::fill_n(buffer, given, '\0');
        m_givenBytes += static_cast<std::int64_t>(given);
        return static_cast<std::ptrdiff_t>(given);
    }
    bool IsGiven() const { return m_givenBytes == m_sizeBytes; }

private:
    const std::int64_t m_sizeBytes;
    std::int64_t m_givenBytes = 0;
};

// Sends a first request, so that a slow handshake does not fall into a short stall window. Returns
// the status of the answer.
int Connect(CurlTransport& transport)
{
    return transport.Perform(HttpRequest(), {}).response.status;
}

// A counting semaphore.
class Semaphore
{
public:
    void Release()
    {
        {
            const std::lock_guard lock(m_mutex);
            ++m_count;
        }
        m_released.notify_all();
    }
    void Acquire()
    {
        std::unique_lock lock(m_mutex);
        m_released.wait(lock, [this] { return m_count > 0; });
        --m_count;
    }

private:
    std::mutex m_mutex; // guards m_count
    std::condition_variable m_released;
    int m_count = 0;
};

} // namespace

TEST_F(CurlLink, ReportsADropBeforeTheAnswer)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.ReadHead(); });
    CurlTransport transport(peer.Url(), Trust());
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eDropped);
}

// A network with a login page answers so on the service's port.
TEST_F(CurlLink, ReportsAPageInsteadOfTls)
{
    const TlsPeer peer("HTTP/1.1 302 Found\r\nLocation: http://login.test/\r\n\r\n");
    CurlTransport transport(peer.Url(), Trust());
    const Failure failure = transport.Perform(request, {}).failure;
    EXPECT_EQ(failure.code, EErrorCode::eCaptivePortal) << failure.detail;
}

TEST_F(CurlLink, GivesUpWhenNothingMoves)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.WaitForEnd(); });
    CurlTransport transport(peer.Url(), Trust());
    request.limits.stallWindow = 100ms;
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eTimeout);
}

// As for an event stream, whose stall window is long.
TEST_F(CurlLink, GivesUpWhenTheAnswerDoesNotBegin)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) {
        session.ReadHead();
        session.WaitForEnd();
    });
    CurlTransport transport(peer.Url(), Trust());
    request.limits.head = 100ms;
    request.limits.stallWindow = std::chrono::hours(1);
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eTimeout);
}

TEST_F(CurlLink, GivesUpBelowTheLeastRate)
{
    std::promise<void> isOver;
    std::future<void> over = isOver.get_future();
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n");
        while (over.wait_for(5ms) != std::future_status::ready)
            session.Write("x");
    });
    CurlTransport transport(peer.Url(), Trust());
    request.limits.stallWindow = 100ms;
    request.limits.stallBytes = 100'000;
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eTimeout);
    isOver.set_value();
}

// The kernel takes the whole body at once. While the kernel's unsent bytes get fewer, the link
// works.
TEST_F(CurlLink, WaitsWhileTheKernelsUnsentBytesGetFewer)
{
    constexpr std::size_t kPieceBytes = 128 * 1024;
    constexpr std::int64_t kBodyBytes = 12 * kPieceBytes;
    Semaphore semaphore;
    const auto takeByPieces = [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello);
        session.ReadHead();
        for (std::int64_t read = 0; read < kBodyBytes; read += kPieceBytes) {
            semaphore.Acquire();
            session.Read(kPieceBytes);
        }
        session.Write(kHello);
    };
    TlsPeer peer(GoodIdentity(), takeByPieces, TLS1_3_VERSION, kPeerBufferBytes);
    CurlTransport transport(peer.Url(), Trust());
    ASSERT_EQ(Connect(transport), 200);
    Zeros zeros(kBodyBytes);
    request.method = "PATCH";
    request.source = &zeros;
    request.limits.stallWindow = 1200ms; // several polls, and half the time of all pieces
    request.limits.stallBytes = 1;
    const AbortCheck poll = [&] {
        if (zeros.IsGiven())
            semaphore.Release();
        return false;
    };
    const HttpOutcome outcome = transport.Perform(request, poll);
    EXPECT_EQ(outcome.response.status, 200) << outcome.failure.detail;
    for (std::int64_t read = 0; read < kBodyBytes; read += kPieceBytes)
        semaphore.Release(); // ends the peer if the transport gave up early
}

TEST_F(CurlLink, GivesUpWhenTheKernelsUnsentBytesStay)
{
    Semaphore isOver;
    const auto takeNothing = [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello);
        session.ReadHead();
        isOver.Acquire();
    };
    TlsPeer peer(GoodIdentity(), takeNothing, TLS1_3_VERSION, kPeerBufferBytes);
    CurlTransport transport(peer.Url(), Trust());
    const int connected = Connect(transport);
    Zeros zeros(kHeldBytes);
    request.method = "PATCH";
    request.source = &zeros;
    request.limits.stallWindow = 300ms;
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eTimeout);
    EXPECT_TRUE(zeros.IsGiven()) << "the kernel has taken the whole body";
    EXPECT_EQ(connected, 200);
    EXPECT_EQ(peer.ConnectionCount(), 1) << "no handshake in the stall window";
    isOver.Release();
}

// libcurl gets a TLS record when it is whole. On a slow link its bytes arrive for minutes.
TEST_F(CurlLink, WaitsWhileTheBytesOfATlsRecordArrive)
{
    constexpr std::size_t kPieceBytes = 64;
    const std::string body(12 * kPieceBytes, 'x');
    Semaphore semaphore;
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello);
        session.ReadHead();
        const std::string record =
            session.Sealed("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) +
                           "\r\n\r\n" + body);
        for (std::size_t at = 0; at < record.size(); at += kPieceBytes) {
            semaphore.Acquire();
            session.SendRaw(record.substr(at, kPieceBytes));
        }
        session.WaitForEnd();
    });
    CurlTransport transport(peer.Url(), Trust());
    ASSERT_EQ(Connect(transport), 200);
    request.limits.head = 1200ms; // half the time of all pieces
    request.limits.stallWindow = 1200ms;
    // A piece wakes the transport, which polls at once: only the clock spreads the pieces.
    auto released = std::chrono::steady_clock::now();
    const AbortCheck poll = [&] {
        if (std::chrono::steady_clock::now() - released >= 200ms) {
            released = std::chrono::steady_clock::now();
            semaphore.Release();
        }
        return false;
    };
    const HttpOutcome outcome = transport.Perform(request, poll);
    EXPECT_EQ(outcome.response.body, body) << outcome.failure.detail;
    for (std::size_t at = 0; at < 2 * body.size(); at += kPieceBytes)
        semaphore.Release(); // ends the peer if the transport gave up early
}

TEST_F(CurlLink, GivesUpAtTheDeadline)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.WaitForEnd(); });
    CurlTransport transport(peer.Url(), Trust());
    request.limits.total = 600ms;
    const HttpOutcome outcome = transport.Perform(request, {});
    EXPECT_EQ(outcome.failure.code, EErrorCode::eTimeout);
    EXPECT_FALSE(outcome.tellsNothingAboutLink) << "no byte has moved in the last 200 ms";
}

TEST_F(CurlLink, TellsThatBytesStillMovedAtTheDeadline)
{
    std::promise<void> isOver;
    std::future<void> over = isOver.get_future();
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n");
        while (over.wait_for(5ms) != std::future_status::ready)
            session.Write("x");
    });
    CurlTransport transport(peer.Url(), Trust());
    request.limits.total = 1500ms;
    const HttpOutcome outcome = transport.Perform(request, {});
    EXPECT_EQ(outcome.failure.code, EErrorCode::eTimeout);
    EXPECT_TRUE(outcome.tellsNothingAboutLink);
    isOver.set_value();
}

TEST_F(CurlLink, PollsTheAbortCheckOnTheCallersThread)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.WaitForEnd(); });
    CurlTransport transport(peer.Url(), Trust());
    const std::thread::id self = std::this_thread::get_id();
    std::thread::id asked;
    int count = 0;
    const AbortCheck abort = [&] {
        asked = std::this_thread::get_id();
        return ++count > 4;
    };
    EXPECT_EQ(transport.Perform(request, abort).failure.code, EErrorCode::eAborted);
    EXPECT_EQ(asked, self);
}

TEST_F(CurlLink, WakeMakesItPollTheAbortCheck)
{
    std::atomic<bool> isAborted{false};
    std::promise<void> isConnected;
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        session.ReadHead();
        isConnected.set_value();
        session.WaitForEnd();
    });
    CurlTransport transport(peer.Url(), Trust());
    std::thread waker([&] {
        isConnected.get_future().wait();
        isAborted = true;
        transport.Wake();
    });
    EXPECT_EQ(transport.Perform(request, [&] { return isAborted.load(); }).failure.code,
              EErrorCode::eAborted);
    waker.join();
}

TEST_F(CurlLink, ReplacesADeadConnection)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello); // then closes the connection
    });
    CurlTransport transport(peer.Url(), Trust());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(transport.Perform(request, {}).response.status, 200);
    EXPECT_EQ(peer.ConnectionCount(), 3);
}

// libcurl itself sends a request again when a kept connection dies.
TEST_F(CurlLink, ReportsThatARequestMayHaveArrivedTwice)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello);
        session.ReadHead(); // then closes without an answer
    });
    CurlTransport transport(peer.Url(), Trust());
    EXPECT_FALSE(transport.Perform(request, {}).mayHaveRunBefore);
    request.method = "DELETE";
    const HttpOutcome outcome = transport.Perform(request, {});
    EXPECT_EQ(outcome.response.status, 200) << outcome.failure.detail;
    EXPECT_EQ(peer.ConnectionCount(), 2);
    EXPECT_TRUE(outcome.mayHaveRunBefore);
}

TEST_F(CurlLink, ReportsADropWhenAKeptConnectionDiesAndNoNewOneOpens)
{
    TlsPeer* self = nullptr;
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello);
        session.ReadHead();
        self->StopListening();
    });
    self = &peer;
    CurlTransport transport(peer.Url(), Trust());
    EXPECT_EQ(transport.Perform(request, {}).response.status, 200);
    request.method = "DELETE";
    const Failure failure = transport.Perform(request, {}).failure;
    EXPECT_EQ(failure.code, EErrorCode::eDropped) << failure.detail;
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eRefused);
}

TEST_F(CurlLink, AConnectionEndsWhenTheConsoleSleeps)
{
    std::atomic<std::int64_t> asleepS{0};
    ConsoleFacts console = RealConsoleFacts();
    console.asleep = [&] { return std::chrono::seconds(asleepS); };
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello);
        if (session.ReadHead().empty())
            return;    // replaced
        asleepS += 60; // within the second request, whose answer never comes
        session.WaitForEnd();
    });
    CurlTransport transport(peer.Url(), Trust(), console);
    EXPECT_EQ(transport.Perform(request, {}).response.status, 200);
    const HttpOutcome slept = transport.Perform(request, {});
    EXPECT_EQ(slept.failure.code, EErrorCode::eDropped);
    EXPECT_TRUE(slept.tellsNothingAboutLink);
    EXPECT_EQ(transport.Perform(request, {}).response.status, 200);
    EXPECT_EQ(peer.ConnectionCount(), 2);
    asleepS += 3600; // between two requests
    EXPECT_EQ(transport.Perform(request, {}).response.status, 200);
    EXPECT_EQ(peer.ConnectionCount(), 3);
}

TEST_F(CurlLink, AConnectionEndsWhenTheConsoleLosesItsAddress)
{
    ConsoleFacts console = RealConsoleFacts();
    console.askAddressEvery = 0ms;
    int asked = 0;
    console.hasLostAddress = [&](int socket) { return socket >= 0 && ++asked == 1; };
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.WaitForEnd(); });
    CurlTransport transport(peer.Url(), Trust(), console);
    const Failure failure = transport.Perform(request, {}).failure;
    EXPECT_EQ(failure.code, EErrorCode::eDropped) << failure.detail;
    EXPECT_EQ(asked, 1);
}

// The kept connection dies, and the connection that libcurl makes instead gets no TLS: from a link
// that drops, or from the login page of a network.
TEST_F(CurlLink, ReportsAKeptConnectionThatDiedAsDroppedWhenTheNextHandshakeFails)
{
    const std::string page = "HTTP/1.1 302 Found\r\nLocation: http://login.test/\r\n\r\n";
    const std::pair<std::string, EErrorCode> cases[] = {{"", EErrorCode::eDropped},
                                                        {page, EErrorCode::eCaptivePortal}};
    for (const auto& [answer, later] : cases) {
        TlsPeer* self = nullptr;
        TlsPeer peer(GoodIdentity(), [&self, &text = answer](TlsPeer::Session& session) {
            session.ReadHead();
            session.Write(kHello);
            session.ReadHead();
            self->StopTls(text);
        });
        self = &peer;
        CurlTransport transport(peer.Url(), Trust());
        EXPECT_EQ(transport.Perform(request, {}).response.status, 200);
        Zeros zeros(100); // libcurl notices the end when it sends these
        HttpRequest upload;
        upload.method = "POST";
        upload.source = &zeros;
        const Failure first = transport.Perform(upload, {}).failure;
        EXPECT_TRUE(first.Is(EErrorCode::eDropped) || first.Is(later)) << first.detail;
        const Failure second = transport.Perform(request, {}).failure;
        EXPECT_EQ(second.code, later) << second.detail;
    }
}

TEST_F(CurlLink, ReportsAnAnswerThatEndsInsideItsHeadAsDropped)
{
    const std::string head = "HTTP/1.1 201 Created\r\nContent-Length: 0\r\nX-Name: value\r\n\r\n";
    for (std::size_t end = 0; end < head.size(); ++end) {
        TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
            session.ReadHead();
            session.Write(head.substr(0, end));
        });
        CurlTransport transport(peer.Url(), Trust());
        const Failure failure = transport.Perform(request, {}).failure;
        EXPECT_EQ(failure.code, EErrorCode::eDropped) << end << ": " << failure.detail;
    }
}

// The answer is complete up to its bad line: no link cut it.
TEST_F(CurlLink, ReportsAHeadThatIsNoHttpAsABadReply)
{
    const std::string line("X-Name: a\0b\r\n", 14);
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write("HTTP/1.1 200 OK\r\nX-Other: c\r\n" + line + "\r\n");
        session.WaitForEnd();
    });
    CurlTransport transport(peer.Url(), Trust());
    const Failure failure = transport.Perform(request, {}).failure;
    EXPECT_EQ(failure.code, EErrorCode::eBadReply) << failure.detail;
}

// libcurl opens no socket if it cannot look up the name for another connection.
TEST_F(CurlLink, ReportsAKeptConnectionThatDiedAsDroppedWhenTheNextLookupFails)
{
    TlsPeer peer(GoodIdentity(), Always(kHello));
    const ConsoleFacts console = RealConsoleFacts();
    OpenSockets sockets;
    const std::unique_ptr<CURL, void (*)(CURL*)> easy(curl_easy_init(), &curl_easy_cleanup);
    curl_easy_setopt(easy.get(), CURLOPT_URL, peer.Url().c_str());
    curl_easy_setopt(easy.get(), CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
    sockets.Serve(easy.get());
    for (const bool wasSent : {false, true}) {
        CurlTransfer transfer(easy.get(), request, console, sockets);
        if (wasSent) {
            ASSERT_EQ(curl_easy_perform(easy.get()), CURLE_OK);
        }
        const Failure failure = transfer.Finish(CURLE_COULDNT_RESOLVE_HOST, {}, false).failure;
        EXPECT_EQ(failure.code, wasSent ? EErrorCode::eDropped : EErrorCode::eUnknownHost);
    }
}

} // namespace kesdk::impl
