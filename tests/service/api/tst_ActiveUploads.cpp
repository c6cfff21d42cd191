// One request at a time works on an upload, and the newest request takes precedence.
#include "service/api/ActiveUploads.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"

#include <gtest/gtest.h>

namespace kelvo::api {
namespace {

/** A request whose peer sends nothing. */
struct SilentRequest
{
    explicit SilentRequest(asio::io_context& io, std::uint64_t length = 100) : pair(io)
    {
        head.contentLength = length;
        body.emplace(*pair.server, limits, head, early);
    }

    test::TcpPair pair;
    http::Limits limits;
    http::RequestHead head;
    std::string early;
    std::optional<http::BodyReader> body;
};

class OneAtATime : public testing::Test
{
protected:
    /** Works on the upload until its body ends. */
    Async<void> work(SilentRequest& request, std::string id, std::string name)
    {
        const auto hold = co_await active.take(id, *request.body);
        log.push_back(name + " begins");
        char buffer[10];
        const http::IoResult result = co_await request.body->readSome(asio::buffer(buffer));
        log.push_back(name + (result.error ? " is stopped" : " ends"));
    }

    test::Loop loop;
    ActiveUploads active;
    std::vector<std::string> log;
};

TEST_F(OneAtATime, TheNewRequestStopsTheOldAndWaitsForIt)
{
    SilentRequest older(loop.io());
    SilentRequest newer(loop.io());
    loop.start(work(older, "u1", "older"));
    loop.runUntil([this] { return log.size() == 1; });
    loop.start(work(newer, "u1", "newer"));
    loop.runUntil([this] { return log.size() == 3; });
    EXPECT_EQ(log, (std::vector<std::string>{"older begins", "older is stopped", "newer begins"}));
    newer.pair.client->abort();
    loop.runUntil([this] { return log.size() == 4; });
}

TEST_F(OneAtATime, TheNewestRequestIsNotStoppedByAnOlderOneThatWaits)
{
    SilentRequest holder(loop.io());
    SilentRequest older(loop.io());
    SilentRequest newest(loop.io());
    auto hold = loop.run(active.take("u1", *holder.body));
    loop.start(work(older, "u1", "older"));
    loop.io().poll(); // the older request waits
    loop.start(work(newest, "u1", "newest"));
    hold.reset(); // the newest request takes the upload before the older one wakes up
    loop.runUntil([this] { return log.size() == 1; });
    loop.io().poll();
    loop.run(test::sendText(*newest.pair.client, "0123456789"));
    loop.runUntil([this] { return log.size() == 4; });
    EXPECT_EQ(log, (std::vector<std::string>{"newest begins", "newest ends", "older begins",
                                             "older is stopped"}));
}

TEST_F(OneAtATime, OtherUploadsAreNotStopped)
{
    SilentRequest one(loop.io());
    SilentRequest two(loop.io());
    loop.start(work(one, "u1", "one"));
    loop.start(work(two, "u2", "two"));
    loop.runUntil([this] { return log.size() == 2; });
    EXPECT_EQ(log, (std::vector<std::string>{"one begins", "two begins"}));
    one.pair.client->abort();
    two.pair.client->abort();
    loop.runUntil([this] { return log.size() == 4; });
}

TEST_F(OneAtATime, AStoppedRequestStillReadsTheArrivedBytes)
{
    SilentRequest request(loop.io());
    loop.run(test::sendText(*request.pair.client, "arrived"));
    request.body->abandon();
    char buffer[100];
    const http::IoResult result = loop.run(request.body->fill(asio::buffer(buffer)));
    EXPECT_EQ(std::string(buffer, result.bytes), "arrived");
    EXPECT_TRUE(result.error);
}

TEST_F(OneAtATime, AStoppedRequestReadsALimitedNumberOfBytes)
{
    SilentRequest request(loop.io(), 1ULL << 40);
    request.body->abandon();
    std::size_t taken = 0;
    for (http::IoResult result; !result.error;) {
        char buffer[65536];
        loop.run(test::sendText(*request.pair.client, std::string(1000, 'x')));
        result = loop.run(request.body->readSome(asio::buffer(buffer)));
        taken += result.bytes;
    }
    EXPECT_LE(taken, 2U * 1024 * 1024);
}

TEST_F(OneAtATime, ARequestWithoutBodyKeepsItsConnectionWhenStopped)
{
    SilentRequest request(loop.io(), 0);
    request.body->abandon();
    loop.run(test::sendText(*request.pair.client, "the next request"));
    EXPECT_EQ(loop.run(test::readUntil(*request.pair.server, "request")), "the next request");
}

TEST_F(OneAtATime, ARequestBetweenTwoReadsIsStoppedAtTheNextRead)
{
    SilentRequest request(loop.io());
    request.body->abandon();
    char buffer[10];
    const http::IoResult result = loop.run(request.body->readSome(asio::buffer(buffer)));
    EXPECT_TRUE(result.error);
}

} // namespace
} // namespace kelvo::api
