// The changes that a writer gets while other writers work.
#include "service/store/WriteQueue.h"

#include <gmock/gmock.h>

#include <deque>
#include <future>

namespace kelvo::test {
namespace {

using store::Batch;
using store::Change;
using store::Scope;

constexpr Scope hill = Scope::farm(1);
constexpr Scope dale = Scope::farm(2);
constexpr Scope moor = Scope::farm(3);

class WriteQueue : public testing::Test
{
protected:
    /** Queues a change for each scope and returns them. */
    Batch add(store::WriteQueue& queue, const std::vector<Scope>& scopes)
    {
        Batch added;
        for (const Scope& scope : scopes) {
            Change& change = changes.emplace_back();
            change.scope = scope;
            EXPECT_TRUE(queue.add(change));
            added.push_back(&change);
        }
        return added;
    }

    std::deque<Change> changes;
};

TEST_F(WriteQueue, GivesOneWriterAllChangesInTheirOrder)
{
    store::WriteQueue queue(1);
    const Batch added = add(queue, {hill, dale, hill});
    EXPECT_EQ(queue.take(), added);
}

TEST_F(WriteQueue, SharesTheChangesAmongTheIdleWriters)
{
    store::WriteQueue queue(2);
    const Batch added = add(queue, {hill, dale, moor, Scope::upload("a")});
    EXPECT_EQ(queue.take(), (Batch{added[0], added[1]}));
    EXPECT_EQ(queue.take(), (Batch{added[2], added[3]}));
}

TEST_F(WriteQueue, KeepsTheOrderOfAFarmThatAnotherWriterWorksOn)
{
    store::WriteQueue queue(2);
    const Batch first = add(queue, {hill});
    ASSERT_EQ(queue.take(), first);
    const Batch later = add(queue, {hill, dale, hill});
    EXPECT_EQ(queue.take(), Batch{later[1]});
    queue.release(first);
    EXPECT_EQ(queue.take(), (Batch{later[0], later[2]}));
}

TEST_F(WriteQueue, LetsAChangeOfAllRowsRunAlone)
{
    store::WriteQueue queue(3);
    const Batch first = add(queue, {hill});
    ASSERT_EQ(queue.tryTake(), first);
    const Batch later = add(queue, {Scope::all(), Scope::all(), dale});
    EXPECT_EQ(queue.tryTake(), Batch{}) << "beside the change of a farm";
    queue.release(first);
    const Batch alone{later[0], later[1]};
    ASSERT_EQ(queue.tryTake(), alone);
    EXPECT_EQ(queue.tryTake(), Batch{}) << "beside a change of all rows";
    queue.release(alone);
    EXPECT_EQ(queue.tryTake(), Batch{later[2]});
}

TEST_F(WriteQueue, WakesAWriterThatWaitsForAScope)
{
    store::WriteQueue queue(2);
    const Batch first = add(queue, {hill});
    ASSERT_EQ(queue.tryTake(), first);
    const Batch later = add(queue, {hill});
    auto waiting = std::async(std::launch::async, [&queue] { return queue.take(); });
    queue.release(first);
    EXPECT_EQ(waiting.get(), later);
}

TEST_F(WriteQueue, HandsOutAtMost128ChangesAtOnce)
{
    store::WriteQueue queue(1);
    add(queue, std::vector<Scope>(129, hill));
    const Batch first = queue.take();
    EXPECT_EQ(first.size(), 128U);
    queue.release(first);
    EXPECT_EQ(queue.take().size(), 1U);
}

TEST_F(WriteQueue, EndsWhenItIsClosedAndEmpty)
{
    store::WriteQueue queue(1);
    const Batch added = add(queue, {hill});
    queue.close();
    Change late;
    EXPECT_FALSE(queue.add(late));
    EXPECT_EQ(queue.take(), added);
    queue.release(added);
    EXPECT_TRUE(queue.take().empty());
}

} // namespace
} // namespace kelvo::test
