// Connections that drop, die or are replaced.
#include "http/CurlTransfer.h"
#include "support/CurlFixture.h"

#include <atomic>
#include <future>
#include <memory>
#include <utility>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;

using CurlLink = CurlTransportTest;

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
    const TlsPeer peer(kPortalAnswer);
    CurlTransport transport(peer.Url(), Trust());
    const Failure failure = transport.Perform(request, {}).failure;
    EXPECT_EQ(failure.code, EErrorCode::eCaptivePortal) << failure.detail;
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

// The kept connection dies, and the connection that libcurl makes instead gets no TLS. The link
// drops, or the login page of a network answers.
TEST_F(CurlLink, ReportsAKeptConnectionThatDiedAsDroppedWhenTheNextHandshakeFails)
{
    const std::pair<std::string, EErrorCode> cases[] = {
        {"", EErrorCode::eDropped}, {kPortalAnswer, EErrorCode::eCaptivePortal}};
    for (const auto& [answer, later] : cases) {
        const PeerThatStopsTls peer(GoodIdentity(), answer);
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
TEST_F(CurlLink, ReportsAHeadThatIsNoHttpAsABadAnswer)
{
    const std::string line("X-Name: a\0b\r\n", 14);
    TlsPeer peer(GoodIdentity(), [&](TlsPeer::Session& session) {
        session.ReadHead();
        session.Write("HTTP/1.1 200 OK\r\nX-Other: c\r\n" + line + "\r\n");
        session.WaitForEnd();
    });
    CurlTransport transport(peer.Url(), Trust());
    const Failure failure = transport.Perform(request, {}).failure;
    EXPECT_EQ(failure.code, EErrorCode::eBadAnswer) << failure.detail;
}

// libcurl opens no socket if it cannot look up the name for another connection.
TEST_F(CurlLink, ReportsAKeptConnectionThatDiedAsDroppedWhenTheNextLookupFails)
{
    TlsPeer peer(GoodIdentity(), Always(kHello));
    const ConsoleFacts console = RealConsoleFacts();
    ServiceTime serviceTime(console);
    OpenSockets sockets;
    const std::unique_ptr<CURL, void (*)(CURL*)> easy(curl_easy_init(), &curl_easy_cleanup);
    curl_easy_setopt(easy.get(), CURLOPT_URL, peer.Url().c_str());
    curl_easy_setopt(easy.get(), CURLOPT_SSL_VERIFYPEER, 0L);
    curl_easy_setopt(easy.get(), CURLOPT_NOSIGNAL, 1L);
    sockets.Serve(easy.get());
    for (const bool wasSent : {false, true}) {
        CurlTransfer transfer(easy.get(), request, console, sockets, serviceTime);
        if (wasSent) {
            ASSERT_EQ(curl_easy_perform(easy.get()), CURLE_OK);
        }
        const Failure failure =
            transfer.Finish(CURLE_COULDNT_RESOLVE_HOST, {}, EConsoleClock::eUnknown).failure;
        EXPECT_EQ(failure.code, wasSent ? EErrorCode::eDropped : EErrorCode::eUnknownHost);
    }
}

// A lookup that has no end opens no socket.
TEST_F(CurlLink, ReportsAnUnknownHostIfNoNameServerAnswersInTime)
{
    const ConsoleFacts console = RealConsoleFacts();
    ServiceTime serviceTime(console);
    const OpenSockets sockets;
    const std::unique_ptr<CURL, void (*)(CURL*)> easy(curl_easy_init(), &curl_easy_cleanup);
    request.limits.connect = std::chrono::milliseconds(0);
    CurlTransfer transfer(easy.get(), request, console, sockets, serviceTime);
    EXPECT_EQ(transfer.CheckLimits().code, EErrorCode::eUnknownHost);
}

} // namespace kesdk::impl
