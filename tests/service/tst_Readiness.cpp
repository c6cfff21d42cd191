// When the service says that it is ready.
#include "service/Readiness.h"
#include "tests/service/support/RunAwaitable.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

namespace kelvo {
namespace {

using namespace std::chrono_literals;

constexpr auto never = 1h;

class ReadinessTest : public testing::Test
{
protected:
    std::string ask(std::vector<Readiness::Check> checks)
    {
        Readiness readiness(std::move(checks), never);
        return loop.run(readiness.ask());
    }

    test::Loop loop;
};

TEST_F(ReadinessTest, TheServiceIsReadyIfAllChecksAreGood)
{
    int runs = 0;
    const auto good = [&runs] {
        ++runs;
        return std::string();
    };
    EXPECT_EQ(ask({{"a", good}, {"b", good}}), "");
    EXPECT_EQ(runs, 2);
}

TEST_F(ReadinessTest, NamesTheFirstFailure)
{
    const auto good = [] { return std::string(); };
    const auto bad = [] { return std::string("too old"); };
    const auto throws = []() -> std::string { throw std::runtime_error("no room"); };
    EXPECT_EQ(ask({{"a", good}, {"b", bad}, {"c", throws}}), "b: too old");
    EXPECT_EQ(ask({{"c", throws}, {"b", bad}}), "c: no room");
}

TEST_F(ReadinessTest, ChecksAnewEachTime)
{
    bool isGood = true;
    Readiness readiness({{"a", [&isGood] { return std::string(isGood ? "" : "bad"); }}}, never);
    EXPECT_EQ(loop.run(readiness.ask()), "");
    isGood = false;
    EXPECT_EQ(loop.run(readiness.ask()), "a: bad");
}

TEST_F(ReadinessTest, StopsBeingReadyAtOnceWhenTheServiceStops)
{
    int runs = 0;
    Readiness readiness({{"a",
                          [&runs] {
                              ++runs;
                              return std::string();
                          }}},
                        never);
    readiness.beginStop();
    EXPECT_EQ(loop.run(readiness.ask()), "stopping");
    EXPECT_EQ(runs, 0);
}

TEST_F(ReadinessTest, DoesNotWaitForADiskThatHangs)
{
    std::promise<void> disk;
    std::atomic<int> runs = 0;
    Readiness readiness({{"content store",
                          [&disk, &runs] {
                              ++runs;
                              disk.get_future().wait();
                              return std::string();
                          }}},
                        1ms);
    EXPECT_EQ(loop.run(readiness.ask()), "content store: no answer in time");
    EXPECT_EQ(loop.run(readiness.ask()), "content store: no answer in time");
    EXPECT_EQ(runs, 1) << "the second call waits for the same check";
    disk.set_value();
}

} // namespace
} // namespace kelvo
