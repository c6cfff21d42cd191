#include "tools/herd/Line.h"

#include <gtest/gtest.h>

#include <optional>

using namespace herd;
using namespace std::chrono_literals;

namespace {

class LineTest : public testing::Test
{
protected:
    LineTest()
    {
        network.servers.emplace_back();
        line.emplace(network, identity, 0);
    }

    Network network;
    Identity identity;
    std::optional<Line> line;
};

} // namespace

TEST_F(LineTest, CountsTheTimeSinceTheBegin)
{
    EXPECT_GE(line->onlineSince(Clock::now() - 10s), 10s);
}

TEST_F(LineTest, CountsNoTimeWhileTheLinkIsLost)
{
    const Clock::time_point begin = Clock::now() - 10s;
    line->loseLink(Clock::now() + 1h);
    const Clock::duration first = line->onlineSince(begin);
    EXPECT_GE(first, 10s);
    EXPECT_EQ(line->onlineSince(begin), first);
    EXPECT_EQ(line->onlineSince(Clock::now()), 0s);
    line->loseLink(Clock::now() + 2h); // again, while it is lost
    EXPECT_EQ(line->onlineSince(begin), first);
}

TEST_F(LineTest, CountsTheTimeAgainWhenTheLinkIsBack)
{
    const Clock::time_point begin = Clock::now() - 10s;
    line->loseLink(Clock::now() + 1h);
    const Clock::duration lost = line->onlineSince(begin);
    line->loseLink({});
    EXPECT_GT(line->onlineSince(begin), lost);
}
