#include "service/http/StallTimeout.h"

#include <gtest/gtest.h>

namespace kelvo::http {
namespace {

using namespace std::chrono_literals;

TEST(StallTimeout, RestartsWithEachProgress)
{
    StallTimeout timeout(60s, 1024);
    for (int i = 0; i < 100; ++i) {
        timeout.count(59s, 1024);
        EXPECT_EQ(timeout.left(), 60s);
    }
}

TEST(StallTimeout, RunsOutWhenTooFewBytesArrive)
{
    StallTimeout timeout(60s, 1024);
    timeout.count(20s, 1);
    timeout.count(20s, 1);
    EXPECT_EQ(timeout.left(), 20s);
    timeout.count(30s, 1);
    EXPECT_EQ(timeout.left(), 0s);
}

TEST(StallTimeout, CountsBytesSinceTheLastRestart)
{
    StallTimeout timeout(60s, 1024);
    timeout.count(10s, 1000);
    EXPECT_EQ(timeout.left(), 50s);
    timeout.count(10s, 24);
    EXPECT_EQ(timeout.left(), 60s);
    timeout.count(10s, 1000);
    EXPECT_EQ(timeout.left(), 50s);
}

TEST(StallTimeout, RestartsAfterAWaitThatWasNotForThePeer)
{
    StallTimeout timeout(60s, 1024);
    timeout.count(60s, 1);
    EXPECT_EQ(timeout.left(), 0s);
    timeout.restart();
    EXPECT_EQ(timeout.left(), 60s);
    timeout.endAfter(30s);
    timeout.count(10s, 0);
    timeout.restart();
    EXPECT_EQ(timeout.left(), 20s);
}

TEST(StallTimeout, ProgressDoesNotMoveItsDeadline)
{
    StallTimeout timeout(60s, 1024);
    timeout.endAfter(30s);
    EXPECT_EQ(timeout.left(), 30s);
    timeout.count(10s, 1024 * 1024);
    EXPECT_EQ(timeout.left(), 20s);
}

} // namespace
} // namespace kelvo::http
