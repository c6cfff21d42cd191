#include "service/store/AuditTable.h"
#include "service/store/Errors.h"
#include "service/store/FarmTable.h"
#include "service/store/ReserveShares.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

namespace kelvo::test {
namespace {

constexpr long long mib = 1024L * 1024;

store::AuditEntry entryOf(store::Id farm)
{
    store::AuditEntry entry;
    entry.action = "change";
    entry.outcome = "done";
    entry.actor = 7;
    entry.farm = farm;
    return entry;
}

/** The reserve has 4 MiB, so each share has 512 KiB. The fixture's change has 200 kB. */
class ReserveShares : public testing::Test
{
protected:
    ReserveShares()
    {
        database.onChange([this](const store::Transaction& t) { return shares.admit(t); });
    }

    /** False if the change was refused. */
    bool change(const store::AuditEntry& entry)
    {
        try {
            database.writeNow([&](store::Transaction& t) {
                store::addFarm(t, "farm " + std::to_string(++changes));
                store::addAudit(t, entry);
                store::Event event;
                event.farm = entry.farm;
                event.fullData = std::string(200000, 'x');
                t.events.push_back(event); // counted, not stored
            });
            return true;
        } catch (const store::StorageFull&) {
            return false;
        }
    }

    std::size_t storedFarms()
    {
        return database.readNow([](soci::session& sql) { return store::allFarms(sql).size(); });
    }

    TempFolder folder;
    DiskReserve reserve{folder.Path() / "reserve", 4 * mib};
    store::ReserveShares shares{reserve};
    store::Database database{store::makeSqlite((folder.Path() / "store.sqlite").string())};
    int changes = 0;
};

TEST_F(ReserveShares, HaveNoLimitWhileTheReserveIsWhole)
{
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(change(entryOf(1)));
    }
}

TEST_F(ReserveShares, RefuseAFarmThatUsedItsShareAndNoOtherFarm)
{
    reserve.release();
    EXPECT_TRUE(change(entryOf(1)));
    EXPECT_TRUE(change(entryOf(1)));
    EXPECT_FALSE(change(entryOf(1)));
    EXPECT_EQ(storedFarms(), 2U) << "the refused change is rolled back";
    EXPECT_TRUE(change(entryOf(2)));
    reserve.makeWhole();
    EXPECT_TRUE(change(entryOf(1)));
    reserve.release();
    EXPECT_TRUE(change(entryOf(1))) << "the count starts at 0 again";
}

TEST_F(ReserveShares, DoNotLimitAdministrators)
{
    reserve.release();
    store::AuditEntry entry = entryOf(1);
    entry.isOfAdmin = true;
    for (int i = 0; i < 10; ++i) {
        EXPECT_TRUE(change(entry));
    }
}

TEST_F(ReserveShares, CountFailedLoginsApartFromTheChangesOfTheFarm)
{
    reserve.release();
    for (const bool isAdmin : {false, true}) {
        store::AuditEntry failed = entryOf(isAdmin ? 0 : 1);
        failed.outcome = "failed";
        failed.isOfAdmin = isAdmin;
        const auto fail = [&failed, this] {
            return database.writeNow([&failed, this](store::Transaction& t) {
                t.audit.assign(1200, failed); // 1,200 entries of 512 bytes
                return ++changes;
            });
        };
        EXPECT_THROW(fail(), store::StorageFull) << "administrator: " << isAdmin;
    }
    EXPECT_TRUE(change(entryOf(1)));
}

} // namespace
} // namespace kelvo::test
