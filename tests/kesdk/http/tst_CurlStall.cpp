// Limits of time and rate: when the transport gives up a slow or silent connection.
#include "support/CurlFixture.h"

#include <zlib.h>

#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <random>
#include <string>
#include <vector>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;

using CurlStall = CurlTransportTest;

// Small enough for the kernel's send and receive buffers together.
constexpr std::int64_t kHeldBytes = 768 * 1024;
// The peer's receive buffer, independent of the system's defaults.
constexpr int kPeerBufferBytes = 64 * 1024;

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

std::string Gzip(const std::string& text)
{
    constexpr int kGzipFormat = 16;
    z_stream stream{};
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, MAX_WBITS + kGzipFormat, 8,
                 Z_DEFAULT_STRATEGY);
    std::vector<Bytef> in(text.begin(), text.end());
    std::vector<Bytef> out(deflateBound(&stream, static_cast<uLong>(in.size())));
    stream.next_in = in.data();
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    const std::string packed(out.begin(),
                             out.begin() + static_cast<std::ptrdiff_t>(stream.total_out));
    deflateEnd(&stream);
    return packed;
}

// An answer that ends with a TLS record whose bytes arrive in pieces.
class SlowRecord : public CurlTransportTest
{
protected:
    static constexpr std::size_t kPieces = 12;

    // The answer's head and `start` arrive at once, and `rest` in twice the stall window.
    HttpOutcome Fetch(const std::string& fields, const std::string& start, const std::string& rest)
    {
        Semaphore semaphore;
        TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
            session.ReadHead();
            session.Write(kHello);
            session.ReadHead();
            const std::string head = "HTTP/1.1 200 OK\r\n" + fields + "\r\n\r\n";
            if (!start.empty())
                session.Write(head + start);
            const std::string record = session.Sealed(start.empty() ? head + rest : rest);
            const std::size_t pieceBytes = record.size() / kPieces + 1;
            for (std::size_t at = 0; at < record.size(); at += pieceBytes) {
                semaphore.Acquire();
                session.SendRaw(record.substr(at, pieceBytes));
            }
            session.WaitForEnd();
        });
        CurlTransport transport(peer.Url(), Trust());
        EXPECT_EQ(Connect(transport), 200);
        request.limits.head = 1200ms;
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
        HttpOutcome outcome = transport.Perform(request, poll);
        for (std::size_t i = 0; i < kPieces; ++i)
            semaphore.Release(); // ends the peer if the transport gave up early
        return outcome;
    }
};

} // namespace

TEST_F(CurlStall, GivesUpWhenNothingMoves)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.WaitForEnd(); });
    CurlTransport transport(peer.Url(), Trust());
    request.limits.stallWindow = 100ms;
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eTimeout);
}

// As for an event stream, whose stall window is long.
TEST_F(CurlStall, GivesUpWhenTheAnswerDoesNotBegin)
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

TEST_F(CurlStall, GivesUpBelowTheLeastRate)
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
TEST_F(CurlStall, WaitsWhileTheKernelsUnsentBytesGetFewer)
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

TEST_F(CurlStall, GivesUpWhenTheKernelsUnsentBytesStay)
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
TEST_F(SlowRecord, WaitsWhileTheBytesOfATlsRecordArrive)
{
    const std::string body(768, 'x');
    const HttpOutcome outcome = Fetch("Content-Length: " + std::to_string(body.size()), {}, body);
    EXPECT_EQ(outcome.response.body, body) << outcome.failure.detail;
}

// The first half is larger, when it is unpacked, than all bytes that arrive.
TEST_F(SlowRecord, WaitsWhileTheRestOfACompressedAnswerArrives)
{
    std::mt19937 random(1);
    std::string body;
    for (int file = 0; file < 400; ++file) {
        body += R"({"kind":"file","container":17,"created_at":"2026-01-01T00:00:00Z","sha256":")";
        for (int digit = 0; digit < 64; ++digit)
            body += "0123456789abcdef"[random() % 16];
        body += "\"},\n";
    }
    const std::string packed = Gzip(body);
    const std::string length = std::to_string(packed.size());
    const std::size_t half = packed.size() / 2;
    request.acceptsGzip = true;
    const HttpOutcome outcome = Fetch("Content-Encoding: gzip\r\nContent-Length: " + length,
                                      packed.substr(0, half), packed.substr(half));
    EXPECT_EQ(outcome.response.body, body) << outcome.failure.detail;
}

TEST_F(CurlStall, GivesUpAtTheDeadline)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello);
        session.WaitForEnd();
    });
    CurlTransport transport(peer.Url(), Trust());
    ASSERT_EQ(Connect(transport), 200);
    request.limits.total = 600ms;
    const HttpOutcome outcome = transport.Perform(request, {});
    EXPECT_EQ(outcome.failure.code, EErrorCode::eTimeout);
    EXPECT_FALSE(outcome.tellsNothingAboutLink) << "no byte has moved in the last 200 ms";
}

TEST_F(CurlStall, TellsThatBytesStillMovedAtTheDeadline)
{
    std::promise<void> isOver;
    std::future<void> over = isOver.get_future();
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write(kHello);
        session.ReadHead();
        session.Write("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n");
        while (over.wait_for(5ms) != std::future_status::ready)
            session.Write(std::string(100, 'x'));
    });
    CurlTransport transport(peer.Url(), Trust());
    const int connected = Connect(transport);
    request.limits.total = 1500ms;
    const HttpOutcome outcome = transport.Perform(request, {});
    EXPECT_EQ(outcome.failure.code, EErrorCode::eTimeout);
    EXPECT_TRUE(outcome.tellsNothingAboutLink);
    EXPECT_EQ(connected, 200);
    isOver.set_value();
}

} // namespace kesdk::impl
