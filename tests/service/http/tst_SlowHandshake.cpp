// A TLS handshake on a slow link: it has time while bytes arrive, and a limit.
#include "service/base/Clock.h"
#include "service/http/TlsTransport.h"
#include "service/tls/Certificates.h"
#include "service/tls/ServerContext.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"
#include "tests/support/TempFolder.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <gtest/gtest.h>

#include <openssl/ssl.h>

#include <memory>

namespace kelvo::http {
namespace {

using namespace std::chrono_literals;
using asio::ip::tcp;

/** A TLS client that sends one byte a millisecond. */
class SlowClient
{
public:
    explicit SlowClient(tcp::socket socket)
        : link_(std::move(socket)),
          context_(SSL_CTX_new(TLS_client_method()), SSL_CTX_free),
          ssl_(SSL_new(context_.get()), SSL_free)
    {
        SSL_set_bio(ssl_.get(), BIO_new(BIO_s_mem()), BIO_new(BIO_s_mem()));
        SSL_set_connect_state(ssl_.get());
    }

    /** True when the handshake is complete. Stops after `most` bytes. */
    Async<bool> shakeHands(std::size_t most)
    {
        while (SSL_do_handshake(ssl_.get()) != 1) {
            const bool sent = co_await sendSlowly(most);
            char buffer[4096];
            const IoResult got = sent ? co_await link_.readSome(asio::buffer(buffer)) : IoResult{};
            if (got.bytes == 0) {
                co_return false;
            }
            BIO_write(SSL_get_rbio(ssl_.get()), buffer, static_cast<int>(got.bytes));
        }
        co_return co_await sendSlowly(most);
    }

    Transport& link() { return link_; }

private:
    Async<bool> sendSlowly(std::size_t most)
    {
        asio::steady_timer timer(link_.executor());
        char byte = 0;
        while (sent_ < most && BIO_read(SSL_get_wbio(ssl_.get()), &byte, 1) == 1) {
            timer.expires_after(1ms);
            co_await timer.async_wait(asio::use_awaitable);
            const auto failed = co_await link_.write(asio::buffer(&byte, 1));
            if (failed) {
                co_return false;
            }
            ++sent_;
        }
        co_return sent_ < most;
    }

    Transport link_;
    std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> context_;
    std::unique_ptr<SSL, void (*)(SSL*)> ssl_;
    std::size_t sent_ = 0;
};

class SlowHandshake : public testing::Test
{
protected:
    SlowHandshake()
    {
        tcp::acceptor acceptor(loop.io(), tcp::endpoint(asio::ip::address_v4::loopback(), 0));
        tcp::socket near(loop.io());
        near.connect(acceptor.local_endpoint());
        client = std::make_unique<SlowClient>(std::move(near));
        server = std::make_unique<TlsTransport>(acceptor.accept(), context.get());
    }

    /** Serves as a connection does: `firstByte` until the peer begins, then `total`. */
    void handshake(std::chrono::milliseconds firstByte, std::chrono::milliseconds total,
                   std::size_t most)
    {
        bool ended = false;
        const auto serve = [&]() -> Async<void> {
            server->expireAfter(firstByte);
            const auto failed = co_await server->handshake(total);
            server->neverExpire();
            isServed = !failed;
            ended = true;
        };
        const auto visit = [&]() -> Async<void> { co_await client->shakeHands(most); };
        loop.start(serve());
        loop.start(visit());
        loop.runUntil([&ended] { return ended; });
        server->abort();
    }

    test::Loop loop;
    test::TempFolder folder;
    decltype(tls::makeServerContext({})) context = tls::makeServerContext(
        tls::ensureCertificates(folder.Path(), {"localhost"}, tls::timesOf(SystemClock())));
    std::unique_ptr<SlowClient> client;
    std::unique_ptr<TlsTransport> server;
    bool isServed = false;
};

constexpr std::size_t all = 1000000;

TEST_F(SlowHandshake, MayTakeLongerThanTheWaitForItsFirstByte)
{
    handshake(200ms, 1h, all); // the client sends more than 200 bytes
    EXPECT_TRUE(isServed);
}

TEST_F(SlowHandshake, EndsAtItsDeadlineIfThePeerPauses)
{
    handshake(1h, 30ms, 20);
    EXPECT_FALSE(isServed);
    EXPECT_TRUE(server->expired());
}

TEST_F(SlowHandshake, EndsIfThePeerNeverBegins)
{
    handshake(30ms, 1h, 0);
    EXPECT_FALSE(isServed);
    EXPECT_TRUE(server->expired());
}

} // namespace
} // namespace kelvo::http
