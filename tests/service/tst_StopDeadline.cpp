// The deadline of a stop.
#include "service/StopDeadline.h"

#include <gtest/gtest.h>

#include <future>

namespace kelvo {
namespace {

TEST(StopDeadlines, ExpireWhileTheStopGoesOn)
{
    std::promise<void> expired;
    StopDeadline deadline;
    deadline.start(std::chrono::milliseconds(1), [&expired] { expired.set_value(); });
    expired.get_future().wait();
}

TEST(StopDeadlines, DoNotExpireAfterTheStop)
{
    bool isExpired = false;
    {
        StopDeadline deadline;
        deadline.start(std::chrono::hours(1), [&isExpired] { isExpired = true; });
    }
    EXPECT_FALSE(isExpired);
    const StopDeadline unused;
}

} // namespace
} // namespace kelvo
