#include "service/base/WorkPool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <future>
#include <vector>

namespace kelvo {

namespace {

/** The clients whose work a pool of one thread has run, in its order. All work is queued before the
 * first job runs. */
std::vector<std::uint64_t> orderOf(const std::vector<std::uint64_t>& posted)
{
    std::vector<std::uint64_t> done;
    std::promise<void> allPosted;
    WorkPool pool(1);
    pool.post([queued = allPosted.get_future().share()] { queued.wait(); });
    for (const std::uint64_t client : posted) {
        pool.post([&done, client] { done.push_back(client); }, client);
    }
    allPosted.set_value();
    pool.stop();
    return done;
}

} // namespace

TEST(WorkPool, RunsTheWorkOfClientsInTurn)
{
    EXPECT_EQ(orderOf({1, 1, 1, 1, 2, 3, 3}), (std::vector<std::uint64_t>{1, 2, 3, 1, 3, 1, 1}));
}

TEST(WorkPool, RunsTheWorkOfOneClientInTheOrderOfItsArrival)
{
    std::vector<int> done;
    WorkPool pool(1);
    for (int job = 0; job < 100; ++job) {
        pool.post([&done, job] { done.push_back(job); }, 1);
    }
    pool.stop();
    ASSERT_EQ(done.size(), 100);
    EXPECT_TRUE(std::is_sorted(done.begin(), done.end()));
}

} // namespace kelvo
