// Connections that drop, stall and die unnoticed, and when the transport gives them up.
#include "support/CurlFixture.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;

using CurlLink = CurlTransportTest;

// Fits into what the kernel holds for a connection, at once.
constexpr std::int64_t kHeldBytes = 768 * 1024;
// What the peer's side of it takes without being asked, whatever the system's defaults are.
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

// Has the handshake, which may take long, over before a short window begins: the peer's answer to
// a first request on the same connection.
int Connect(CurlTransport& transport)
{
    return transport.Perform(HttpRequest(), {}).response.status;
}

// Hands out leave to go on, once for each that was given.
class Leave
{
public:
    void Give()
    {
        {
            const std::lock_guard lock(m_mutex);
            ++m_count;
        }
        m_given.notify_all();
    }
    void Take()
    {
        std::unique_lock lock(m_mutex);
        m_given.wait(lock, [this] { return m_count > 0; });
        --m_count;
    }

private:
    std::mutex m_mutex; // guards m_count
    std::condition_variable m_given;
    int m_count = 0;
};

} // namespace

TEST_F(CurlLink, SaysThatTheLinkDroppedBeforeTheAnswer)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.ReadHead(); });
    CurlTransport transport(peer.Url(), Trust());
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eDropped);
}

// What a network that wants a login says on the service's port.
TEST_F(CurlLink, TellsAPageInsteadOfAnyTls)
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

// As an event stream's is, which is silent for long once it stands.
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

TEST_F(CurlLink, GivesUpWhenTooLittleMoves)
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

// All of the body is with the kernel at once. What it still holds has not arrived, but as long as
// it gets less the link works.
TEST_F(CurlLink, WaitsForWhatTheKernelHoldsAsLongAsItGetsLess)
{
    constexpr std::size_t kPieceBytes = 128 * 1024;
    constexpr std::int64_t kBodyBytes = 12 * kPieceBytes;
    Leave leave;
    const auto takeByPieces = [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello);
        session.ReadHead();
        for (std::int64_t read = 0; read < kBodyBytes; read += kPieceBytes) {
            leave.Take();
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
    request.limits.stallWindow = 1200ms; // some looks, and half of what all pieces take
    request.limits.stallBytes = 1;
    const AbortCheck look = [&] {
        if (zeros.IsGiven())
            leave.Give();
        return false;
    };
    const HttpOutcome outcome = transport.Perform(request, look);
    EXPECT_EQ(outcome.response.status, 200) << outcome.failure.detail;
    for (std::int64_t read = 0; read < kBodyBytes; read += kPieceBytes)
        leave.Give(); // for a peer that was given up
}

TEST_F(CurlLink, GivesUpWhatTheKernelHoldsAndNobodyTakes)
{
    Leave isOver;
    const auto takeNothing = [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello);
        session.ReadHead();
        isOver.Take();
    };
    TlsPeer peer(GoodIdentity(), takeNothing, TLS1_3_VERSION, kPeerBufferBytes);
    CurlTransport transport(peer.Url(), Trust());
    const int connected = Connect(transport);
    Zeros zeros(kHeldBytes);
    request.method = "PATCH";
    request.source = &zeros;
    request.limits.stallWindow = 300ms;
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eTimeout);
    EXPECT_TRUE(zeros.IsGiven()) << "the kernel has taken it for sent";
    EXPECT_EQ(connected, 200);
    EXPECT_EQ(peer.ConnectionCount(), 1) << "the window held no handshake";
    isOver.Give();
}

TEST_F(CurlLink, GivesUpWhenTheTimeIsOver)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.WaitForEnd(); });
    CurlTransport transport(peer.Url(), Trust());
    request.limits.total = 100ms;
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eTimeout);
}

TEST_F(CurlLink, AsksTheAbortCheckWhileItWaits)
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

TEST_F(CurlLink, WakesUpToAskTheAbortCheck)
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

TEST_F(CurlLink, ADeadConnectionIsReplaced)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello); // and goes, without having said so
    });
    CurlTransport transport(peer.Url(), Trust());
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(transport.Perform(request, {}).response.status, 200);
    EXPECT_EQ(peer.ConnectionCount(), 3);
}

// libcurl sends a request once more by itself when a connection that it kept dies under it.
TEST_F(CurlLink, SaysThatARequestWasSentTwice)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello);
        session.ReadHead(); // and goes without an answer
    });
    CurlTransport transport(peer.Url(), Trust());
    EXPECT_FALSE(transport.Perform(request, {}).mayHaveRunBefore);
    request.method = "DELETE";
    const HttpOutcome outcome = transport.Perform(request, {});
    EXPECT_EQ(outcome.response.status, 200) << outcome.failure.detail;
    EXPECT_EQ(peer.ConnectionCount(), 2);
    EXPECT_TRUE(outcome.mayHaveRunBefore);
}

TEST_F(CurlLink, ARequestWhoseConnectionDiedDidLeaveTheConsole)
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

TEST_F(CurlLink, AConnectionDoesNotOutliveASleepOfTheConsole)
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
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eDropped);
    EXPECT_EQ(transport.Perform(request, {}).response.status, 200);
    EXPECT_EQ(peer.ConnectionCount(), 2);
    asleepS += 3600; // between two requests
    EXPECT_EQ(transport.Perform(request, {}).response.status, 200);
    EXPECT_EQ(peer.ConnectionCount(), 3);
}

TEST_F(CurlLink, AConnectionDoesNotOutliveTheConsolesAddress)
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

} // namespace kesdk::impl
