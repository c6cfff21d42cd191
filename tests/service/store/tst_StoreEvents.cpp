// Each farm's log of events.
#include "service/store/EventTable.h"
#include "tests/service/store/StoreContract.h"

#include <gmock/gmock.h>

namespace kelvo::test {
namespace {

using store::Transaction;

void addEvents(store::Database& database, store::Id farm, int count, long long createdMs)
{
    database.writeNow([&](Transaction& t) {
        for (int i = 0; i < count; ++i) {
            store::addEvent(t, {farm, 0, "thing", 7, "{\"full\":1}", "{\"common\":1}", createdMs});
        }
    });
}

std::vector<store::Id> idsAfter(store::Database& database, store::Id farm, store::Id cursor,
                                int limit = 100)
{
    std::vector<store::Id> ids;
    for (const store::Event& event : database.readNow(
             [&](soci::session& sql) { return store::eventsAfter(sql, farm, cursor, limit); })) {
        ids.push_back(event.id);
    }
    return ids;
}

TEST_P(StoreContract, NumbersTheEventsOfEachFarmWithoutGaps)
{
    const store::Farm farm = addFarm("Hill Farm");
    const store::Farm other = addFarm("Dale Farm");
    addEvents(*database, farm.id, 2, now);
    addEvents(*database, other.id, 1, now);
    addEvents(*database, farm.id, 1, now);
    EXPECT_THAT(idsAfter(*database, farm.id, 0), testing::ElementsAre(1, 2, 3));
    EXPECT_THAT(idsAfter(*database, other.id, 0), testing::ElementsAre(1));
}

TEST_P(StoreContract, ReturnsEventsAsTheyWereAdded)
{
    const store::Farm farm = addFarm("Hill Farm");
    addEvents(*database, farm.id, 1, now);
    const auto events =
        read([&farm](soci::session& sql) { return store::eventsAfter(sql, farm.id, 0, 10); });
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].name, "thing");
    EXPECT_EQ(events[0].owner, 7);
    EXPECT_EQ(events[0].fullData, "{\"full\":1}");
    EXPECT_EQ(events[0].commonData, "{\"common\":1}");
    EXPECT_EQ(events[0].farm, farm.id);
}

TEST_P(StoreContract, PagesThroughTheLog)
{
    const store::Farm farm = addFarm("Hill Farm");
    addEvents(*database, farm.id, 5, now);
    EXPECT_THAT(idsAfter(*database, farm.id, 1, 2), testing::ElementsAre(2, 3));
    EXPECT_THAT(idsAfter(*database, farm.id, 3, 2), testing::ElementsAre(4, 5));
    EXPECT_TRUE(idsAfter(*database, farm.id, 5, 2).empty());
}

TEST_P(StoreContract, KnowsTheCursorsThatItCanContinueFrom)
{
    const store::Farm farm = addFarm("Hill Farm");
    addEvents(*database, farm.id, 5, now);
    write([&farm](Transaction& t) { store::pruneEventsTo(t, farm.id, 3); });
    const auto bounds =
        read([&farm](soci::session& sql) { return store::eventBounds(sql, farm.id); });
    EXPECT_FALSE(bounds.contains(2)) << "event 3 is pruned";
    EXPECT_TRUE(bounds.contains(3));
    EXPECT_TRUE(bounds.contains(5));
    EXPECT_FALSE(bounds.contains(6)) << "newer than the log";
    EXPECT_THAT(idsAfter(*database, farm.id, 3), testing::ElementsAre(4, 5));
}

TEST_P(StoreContract, DropsOldEventsByTime)
{
    const store::Farm farm = addFarm("Hill Farm");
    addEvents(*database, farm.id, 2, now - 1000);
    addEvents(*database, farm.id, 1, now);
    write([](Transaction& t) { store::pruneEventsBefore(t, now); });
    EXPECT_THAT(idsAfter(*database, farm.id, 0), testing::ElementsAre(3));
    const auto bounds =
        read([&farm](soci::session& sql) { return store::eventBounds(sql, farm.id); });
    EXPECT_FALSE(bounds.contains(1));
    EXPECT_TRUE(bounds.contains(2));
}

TEST_P(StoreContract, CountsOnlyExistingEventsWhenItPrunes)
{
    const store::Farm farm = addFarm("Hill Farm");
    addEvents(*database, farm.id, 6, now);
    const auto pruneTo = [this, &farm](long long most) {
        write([&](Transaction& t) { store::pruneEventsToCount(t, farm.id, most); });
    };
    write([&farm](Transaction& t) {
        store::dropEvent(t, farm.id, 3);
        store::dropEvent(t, farm.id, 4);
        store::dropEvent(t, farm.id, 4);
    });
    pruneTo(4);
    EXPECT_THAT(idsAfter(*database, farm.id, 0), testing::ElementsAre(1, 2, 5, 6));
    pruneTo(3);
    EXPECT_THAT(idsAfter(*database, farm.id, 0), testing::ElementsAre(2, 5, 6));
    const auto bounds =
        read([&farm](soci::session& sql) { return store::eventBounds(sql, farm.id); });
    EXPECT_FALSE(bounds.contains(0));
    EXPECT_TRUE(bounds.contains(1));
    pruneTo(1);
    EXPECT_THAT(idsAfter(*database, farm.id, 0), testing::ElementsAre(6));
    addEvents(*database, farm.id, 1, now);
    pruneTo(1);
    EXPECT_THAT(idsAfter(*database, farm.id, 0), testing::ElementsAre(7));
}

TEST_P(StoreContract, ContinuesTheNumbersAfterTheLogWasPruned)
{
    const store::Farm farm = addFarm("Hill Farm");
    addEvents(*database, farm.id, 2, now);
    write([&farm](Transaction& t) { store::pruneEventsTo(t, farm.id, 2); });
    reopen();
    addEvents(*database, farm.id, 1, now);
    EXPECT_THAT(idsAfter(*database, farm.id, 2), testing::ElementsAre(3));
}

} // namespace
} // namespace kelvo::test
