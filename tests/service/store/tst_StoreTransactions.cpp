// Transactions: atomic, durable, ordered, concurrent.
#include "service/base/Log.h"
#include "service/store/Errors.h"
#include "service/store/EventTable.h"
#include "tests/service/store/StoreContract.h"
#include "tests/service/support/RunAwaitable.h"

#include <gmock/gmock.h>
#include <soci/soci.h>
#include <sqlite3.h>

#include <atomic>
#include <future>
#include <latch>
#include <thread>

namespace kelvo::test {
namespace {

using store::Transaction;

std::vector<std::string> farmNames(store::Database& database)
{
    return database.readNow([](soci::session& sql) {
        std::vector<std::string> names;
        for (const store::Farm& farm : store::allFarms(sql)) {
            names.push_back(farm.name);
        }
        return names;
    });
}

TEST_P(StoreContract, KeepsDataAcrossAReopen)
{
    addFarm("Hill Farm");
    reopen();
    EXPECT_THAT(farmNames(*database), testing::ElementsAre("Hill Farm"));
}

TEST_P(StoreContract, RollsBackAChangeThatThrows)
{
    EXPECT_THROW(write([](Transaction& t) {
                     store::addFarm(t, "Lost Farm");
                     throw std::logic_error("changed my mind");
                 }),
                 std::logic_error);
    EXPECT_TRUE(farmNames(*database).empty());
    EXPECT_EQ(addFarm("Hill Farm").id, 1);
}

TEST_P(StoreContract, ReportsAFailureWithoutItsValues)
{
    addFarm("Hill Farm");
    const std::string secret = "a secret hash";
    const long long nobody = 99;
    const auto insert = [&](soci::session& sql) {
        sql << "INSERT INTO sessions (token_hash, user_id, created_ms, expires_ms)"
               " VALUES (:hash, :user, 0, 0)",
            soci::use(secret), soci::use(nobody);
        return 0;
    };
    const auto textOf = [](const std::function<void()>& work) -> std::string {
        try {
            work();
        } catch (const std::exception& error) {
            return error.what();
        }
        return "no failure";
    };
    const auto select = [&](soci::session& sql) {
        int found = 0;
        sql << "SELECT COUNT(*) FROM sessions WHERE constraint_name = :hash", soci::into(found),
            soci::use(secret);
        return found;
    };
    for (const std::string& text :
         {textOf([&] { write([&](Transaction& t) { return insert(t.sql); }); }),
          textOf([&] { read(select); })}) {
        EXPECT_THAT(text, testing::HasSubstr("constraint"));
        EXPECT_THAT(text, testing::Not(testing::HasSubstr(secret)));
        EXPECT_THAT(text, testing::Not(testing::HasSubstr("INSERT")));
        EXPECT_THAT(text, testing::Not(testing::HasSubstr("SELECT")));
    }
}

TEST_P(StoreContract, RefusesATextWithNul)
{
    const std::string name("olga\0x", 6);
    addUser({}, "olga", store::ERole::Admin);
    EXPECT_THROW(read([&name](soci::session& sql) { return store::credentialsOf(sql, name); }),
                 store::UnstorableText);
    EXPECT_THROW(addFarm(name), store::UnstorableText);
}

TEST_P(StoreContract, CommitsTheOtherChangesOfABatchWithAFailure)
{
    // A first change holds the writer until the other changes are queued. So the others share a
    // commit.
    std::promise<void> holdWriter;
    std::latch writerIsHeld(1);
    std::thread holder([&] {
        database->writeNow([&](Transaction&) {
            writerIsHeld.count_down();
            holdWriter.get_future().wait();
        });
    });
    writerIsHeld.wait();

    Loop loop;
    std::vector<std::string> outcomes(3, "nothing");
    const auto change = [this, &outcomes](std::size_t index, std::string name,
                                          bool fails) -> Async<void> {
        auto work = [&name, fails](Transaction& t) {
            store::addFarm(t, name);
            if (fails) {
                throw std::logic_error("no");
            }
        };
        try {
            co_await database->write(work);
            outcomes[index] = "done";
        } catch (const std::logic_error&) {
            outcomes[index] = "refused";
        }
    };
    loop.start(change(0, "One", false));
    loop.start(change(1, "Two", true));
    loop.start(change(2, "Three", false));
    loop.io().poll();
    holdWriter.set_value();
    holder.join();
    loop.runUntil(
        [&outcomes] { return testing::Value(outcomes, testing::Each(testing::Ne("nothing"))); });
    EXPECT_THAT(outcomes, testing::ElementsAre("done", "refused", "done"));
    EXPECT_THAT(farmNames(*database), testing::ElementsAre("One", "Three"));
}

TEST_P(StoreContract, KeepsAllChangesOfConcurrentReadersAndWriters)
{
    constexpr int threads = 4;
    constexpr int changes = 50;
    const store::Farm farm = addFarm("Hill Farm");
    std::vector<std::thread> all;
    std::atomic<int> failures = 0;
    for (int i = 0; i < threads; ++i) {
        all.emplace_back([this, &farm, &failures] {
            for (int k = 0; k < changes; ++k) {
                try {
                    farmNames(*database);
                    write([&farm](Transaction& t) { store::nextResourceId(t, farm.id); });
                } catch (const std::exception&) {
                    ++failures;
                }
            }
        });
    }
    for (std::thread& thread : all) {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
    const store::Id next =
        write([&farm](Transaction& t) { return store::nextResourceId(t, farm.id); });
    EXPECT_EQ(next, static_cast<store::Id>(store::projectNames.size()) + threads * changes + 1);
}

TEST_P(StoreContract, PublishesEventsAfterTheirCommit)
{
    const store::Farm farm = addFarm("Hill Farm");
    std::vector<store::Id> heard;
    std::vector<store::Id> readable;
    database->onCommit([&](const std::vector<store::Event>& events) {
        for (const store::Event& event : events) {
            heard.push_back(event.id);
        }
        for (const store::Event& event : read([&farm](soci::session& sql) {
                 return store::eventsAfter(sql, farm.id, 0, 100);
             })) {
            readable.push_back(event.id);
        }
    });
    const auto add = [&farm](Transaction& t) {
        store::addEvent(t, {farm.id, 0, "thing", 0, "{}", "", now});
    };
    write([&add](Transaction& t) {
        add(t);
        add(t);
    });
    EXPECT_THROW(write([&add](Transaction& t) {
                     add(t);
                     throw std::logic_error("no");
                 }),
                 std::logic_error);
    EXPECT_THAT(heard, testing::ElementsAre(1, 2));
    EXPECT_THAT(readable, testing::ElementsAre(1, 2));
}

TEST_P(StoreContract, ReadsOneStateDuringACommit)
{
    addFarm("Hill Farm");
    std::promise<void> readOnce;
    std::promise<void> writerQueued;
    std::size_t before = 0;
    std::size_t after = 0;
    std::thread reader([&] {
        read([&](soci::session& sql) {
            before = store::allFarms(sql).size();
            readOnce.set_value();
            writerQueued.get_future().wait();
            after = store::allFarms(sql).size();
            return 0;
        });
    });
    readOnce.get_future().wait();
    std::thread writer([&] {
        write([&writerQueued](Transaction& t) {
            store::addFarm(t, "Dale Farm");
            writerQueued.set_value();
        });
    });
    reader.join();
    writer.join();
    EXPECT_EQ(before, 1U);
    EXPECT_EQ(after, 1U);
    EXPECT_EQ(farmNames(*database).size(), 2U);
}

std::string journalMode(soci::session& sql)
{
    std::string mode;
    sql << "PRAGMA journal_mode", soci::into(mode);
    return mode;
}

/** Not part of the contract: each kind of database reports a full disk in its own way. */
TEST(Sqlite, ReportsAFullDiskAndWorksAgainWhenThereIsRoom)
{
    const TempFolder folder;
    store::Database database(store::makeSqlite((folder.Path() / "store.sqlite").string()));
    const auto allow = [&database](int pages) {
        database.writeNow([pages](Transaction& t) {
            int limit = 0;
            t.sql << "PRAGMA max_page_count = " << pages, soci::into(limit);
        });
    };
    const auto addLongName = [&database] {
        database.writeNow([](Transaction& t) { store::addFarm(t, std::string(1000000, 'x')); });
    };
    allow(1); // no page more than now
    EXPECT_THROW(addLongName(), store::StorageFull);
    EXPECT_TRUE(farmNames(database).empty());
    allow(1000000);
    addLongName();
    EXPECT_EQ(farmNames(database).size(), 1U);
}

/** SQLite's way to lock files on file systems without shared memory. */
class WithoutSharedMemory : public testing::Test
{
protected:
    WithoutSharedMemory() { sqlite3_vfs_register(sqlite3_vfs_find("unix-dotfile"), 1); }
    ~WithoutSharedMemory() override { sqlite3_vfs_register(sqlite3_vfs_find("unix"), 1); }
};

TEST_F(WithoutSharedMemory, KeepsTheRollbackJournalAndWarns)
{
    const TempFolder folder;
    startLog("info");
    testing::internal::CaptureStderr();
    store::Database database(store::makeSqlite((folder.Path() / "store.sqlite").string()));
    database.writeNow([](Transaction& t) { store::addFarm(t, "Hill Farm"); });
    EXPECT_THAT(farmNames(database), testing::ElementsAre("Hill Farm"));
    EXPECT_EQ(database.readNow([](soci::session& sql) { return journalMode(sql); }), "delete");
    const std::string log = testing::internal::GetCapturedStderr();
    const auto first = log.find("journal-mode");
    EXPECT_NE(first, std::string::npos) << log;
    EXPECT_EQ(log.find("journal-mode", first + 1), std::string::npos)
        << "a line for each connection";
}

} // namespace
} // namespace kelvo::test
