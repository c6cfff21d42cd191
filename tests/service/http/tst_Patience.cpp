// How waiting uses a peer's time up, and progress renews it.
#include "service/http/Patience.h"

#include <gtest/gtest.h>

namespace kelvo::http {
namespace {

using namespace std::chrono_literals;

TEST(Patience, LastsForAsLongAsEnoughComes)
{
    Patience patience(60s, 1024);
    for (int i = 0; i < 100; ++i) {
        patience.spend(59s, 1024);
        EXPECT_EQ(patience.left(), 60s);
    }
}

TEST(Patience, IsUsedUpByWaitingForNextToNothing)
{
    Patience patience(60s, 1024);
    patience.spend(20s, 1);
    patience.spend(20s, 1);
    EXPECT_EQ(patience.left(), 20s);
    patience.spend(30s, 1);
    EXPECT_EQ(patience.left(), 0s);
}

TEST(Patience, CountsWhatCameSinceItWasWhole)
{
    Patience patience(60s, 1024);
    patience.spend(10s, 1000);
    EXPECT_EQ(patience.left(), 50s);
    patience.spend(10s, 24);
    EXPECT_EQ(patience.left(), 60s);
    patience.spend(10s, 1000);
    EXPECT_EQ(patience.left(), 50s);
}

TEST(Patience, IsRenewedForWaitsThatWereNotThePeers)
{
    Patience patience(60s, 1024);
    patience.spend(60s, 1);
    EXPECT_EQ(patience.left(), 0s);
    patience.renew();
    EXPECT_EQ(patience.left(), 60s);
    patience.end(30s);
    patience.spend(10s, 0);
    patience.renew();
    EXPECT_EQ(patience.left(), 20s);
}

TEST(Patience, ThatHasAnEndIsNotRenewed)
{
    Patience patience(60s, 1024);
    patience.end(30s);
    EXPECT_EQ(patience.left(), 30s);
    patience.spend(10s, 1024 * 1024);
    EXPECT_EQ(patience.left(), 20s);
}

} // namespace
} // namespace kelvo::http
