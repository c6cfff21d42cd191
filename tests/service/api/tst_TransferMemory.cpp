// The memory of all transfers together.
#include "service/api/TransferMemory.h"
#include "service/http/Problem.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>

namespace kelvo::api {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Share = std::shared_ptr<TransferMemory::Share>;

constexpr std::chrono::hours forever{24};

class TransferMemories : public testing::Test
{
protected:
    /** Asks for memory for a new farm; later the transfer is in `running` or in `refused`. */
    void ask(const std::string& name, std::uint64_t bytes) { ask(name, bytes, ++newestFarm); }

    void ask(const std::string& name, std::uint64_t bytes, store::Id farm,
             http::BodyReader* body = nullptr)
    {
        loop.start(run(name, bytes, farm, body));
        loop.io().poll();
    }

    Async<void> run(std::string name, std::uint64_t bytes, store::Id farm, http::BodyReader* body)
    {
        try {
            running[name] = co_await memory->take(farm, bytes, body);
            order.push_back(name);
        } catch (const http::Problem&) {
            refused.push_back(name);
        } catch (const http::PeerGone&) {
            order.push_back(name + " is abandoned");
        }
    }

    void end(const std::string& name)
    {
        running.erase(name);
        loop.io().poll();
    }

    store::Id newestFarm = 1000;
    std::optional<TransferMemory> memory;
    test::Loop loop;
    std::map<std::string, Share> running;
    std::vector<std::string> order;
    std::vector<std::string> refused;
};

TEST_F(TransferMemories, AreSharedInTheOrderOfTheRequests)
{
    memory.emplace(10, forever);
    ask("first", 8);
    ask("large", 6);
    ask("small", 2);
    EXPECT_THAT(order, ElementsAre("first")) << "the small transfer does not overtake the large";
    end("first");
    EXPECT_THAT(order, ElementsAre("first", "large", "small"));
    EXPECT_EQ(memory->usedBytes(), 8U);
    end("large");
    end("small");
    EXPECT_EQ(memory->usedBytes(), 0U);
}

TEST_F(TransferMemories, RefuseATransferAfterItsLongestWait)
{
    memory.emplace(10, std::chrono::milliseconds(0));
    ask("first", 10);
    ask("second", 1);
    loop.runUntil([this] { return !refused.empty(); });
    EXPECT_THAT(refused, ElementsAre("second"));
    EXPECT_EQ(memory->refused(), 1U);
    end("first");
    ask("third", 10);
    EXPECT_THAT(order, ElementsAre("first", "third"));
}

TEST_F(TransferMemories, DoNotKeepATransferWithoutBytesWaiting)
{
    memory.emplace(10, forever);
    ask("first", 10);
    ask("waits", 1);
    ask("empty", 0);
    EXPECT_THAT(order, ElementsAre("first", "empty"));
}

TEST_F(TransferMemories, GiveATransferAtMostAllMemory)
{
    memory.emplace(10, forever);
    ask("first", 1);
    ask("huge", 100);
    end("first");
    EXPECT_THAT(order, ElementsAre("first", "huge"));
    EXPECT_EQ(memory->usedBytes(), 10U);
}

TEST_F(TransferMemories, GiveAFarmAQuarterWhileItHasOtherTransfers)
{
    memory.emplace(100, forever);
    ask("large", 60, 1);
    ask("second", 5, 1);
    ask("third", 1, 1);
    ask("other farm", 25, 2);
    EXPECT_THAT(order, ElementsAre("large", "other farm")) << "the only transfer may have more";
    ask("other farm waits", 1, 2);
    end("large");
    EXPECT_THAT(order, ElementsAre("large", "other farm", "second", "third"));
    end("other farm");
    EXPECT_THAT(order, ElementsAre("large", "other farm", "second", "third", "other farm waits"));
    EXPECT_EQ(memory->usedBytes(), 7U);
}

TEST_F(TransferMemories, KeepTheOrderOfAFarm)
{
    memory.emplace(100, forever);
    ask("first", 20, 1);
    ask("large", 25, 1);
    ask("small", 1, 1);
    EXPECT_THAT(order, ElementsAre("first"));
    end("first");
    EXPECT_THAT(order, ElementsAre("first", "large"));
}

TEST_F(TransferMemories, DoNotKeepAnAbandonedRequestWaiting)
{
    memory.emplace(10, forever);
    test::TcpPair pair(loop.io());
    http::Limits limits;
    http::RequestHead head;
    std::string early;
    http::BodyReader body(*pair.server, limits, head, early);
    ask("first", 10);
    ask("second", 1, 1, &body);
    body.abandon();
    loop.io().poll();
    EXPECT_THAT(order, ElementsAre("first", "second is abandoned"));
    ask("third", 1, 1, &body);
    EXPECT_THAT(order, ElementsAre("first", "second is abandoned", "third is abandoned"));
    EXPECT_EQ(memory->refused(), 0U);
    end("first");
    EXPECT_EQ(memory->usedBytes(), 0U);
}

TEST_F(TransferMemories, ServeTheNextIfAWaitingRequestEnds)
{
    memory.emplace(10, forever);
    ask("first", 8);
    {
        test::Loop other; // its end ends the request
        asio::co_spawn(other.io(), memory->take(1, 6),
                       [](const std::exception_ptr&, const Share&) {});
        other.io().poll();
        ask("small", 2);
        EXPECT_THAT(order, ElementsAre("first"));
    }
    loop.io().poll();
    EXPECT_THAT(order, ElementsAre("first", "small"));
}

TEST_F(TransferMemories, RunEveryTransfer)
{
    constexpr int transfers = 500;
    constexpr std::uint64_t most = 100;
    memory.emplace(most, forever);
    std::mt19937 random{20261122};
    for (int i = 0; i < transfers; ++i) {
        ask(std::to_string(i), 1 + random() % most, static_cast<store::Id>(random() % 5));
        ASSERT_LE(memory->usedBytes(), most);
        if (!running.empty() && random() % 2 == 0) {
            const auto offset = static_cast<std::ptrdiff_t>(random() % running.size());
            end(std::next(running.begin(), offset)->first);
        }
    }
    while (!running.empty()) {
        end(running.begin()->first);
        ASSERT_LE(memory->usedBytes(), most);
    }
    EXPECT_EQ(order.size(), static_cast<std::size_t>(transfers));
    EXPECT_THAT(refused, IsEmpty());
    EXPECT_EQ(memory->usedBytes(), 0U);
}

} // namespace
} // namespace kelvo::api
