// Whether the threads of the connections still answer.
#include "service/IoThreads.h"

#include <boost/asio/post.hpp>
#include <gtest/gtest.h>

#include <future>
#include <latch>

namespace kelvo {
namespace {

/** Returns when each thread has done the jobs that it got before. */
void waitForAll(IoThreads& threads)
{
    for (asio::io_context* context : threads.contexts()) {
        std::promise<void> done;
        asio::post(*context, [&done] { done.set_value(); });
        done.get_future().wait();
    }
}

TEST(IoThreads, HaveNotAnsweredWhileOneHangs)
{
    IoThreads threads;
    threads.start();
    EXPECT_TRUE(threads.haveAnswered());
    waitForAll(threads);
    std::latch end(1);
    asio::post(*threads.contexts().back(), [&end] { end.wait(); });
    EXPECT_TRUE(threads.haveAnswered()); // the jobs of the first call are done
    EXPECT_FALSE(threads.haveAnswered());
    end.count_down();
    waitForAll(threads);
    EXPECT_TRUE(threads.haveAnswered());
}

} // namespace
} // namespace kelvo
