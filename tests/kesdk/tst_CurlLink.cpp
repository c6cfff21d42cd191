// Connections that drop, stall and die unnoticed, and when the transport gives them up.
#include "support/CurlFixture.h"

#include <atomic>
#include <future>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;

using CurlLink = CurlTransportTest;

} // namespace

TEST_F(CurlLink, SaysThatTheLinkDroppedBeforeTheAnswer)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.ReadHead(); });
    CurlTransport transport(peer.Url(), Trust());
    EXPECT_EQ(transport.Perform(request, {}).failure.code, EErrorCode::eDropped);
}

TEST_F(CurlLink, GivesUpWhenNothingMoves)
{
    TlsPeer peer(GoodIdentity(), [](TlsPeer::Session& session) { session.WaitForEnd(); });
    CurlTransport transport(peer.Url(), Trust());
    request.limits.stallWindow = 100ms;
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
