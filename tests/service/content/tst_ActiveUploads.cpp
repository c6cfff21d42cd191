// One request at a time works on an upload, and the newest wins.
#include "service/content/ActiveUploads.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"

#include <gtest/gtest.h>

namespace kelvo::content {
namespace {

/** A request whose peer sends nothing. */
struct SilentRequest
{
    explicit SilentRequest(asio::io_context& io) : pair(io)
    {
        head.contentLength = 100;
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

TEST_F(OneAtATime, OtherUploadsAreLeftInPeace)
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

TEST_F(OneAtATime, ARequestBetweenTwoReadingsIsStoppedAtTheNext)
{
    SilentRequest request(loop.io());
    request.body->abandon();
    char buffer[10];
    const http::IoResult result = loop.run(request.body->readSome(asio::buffer(buffer)));
    EXPECT_TRUE(result.error);
}

} // namespace
} // namespace kelvo::content
