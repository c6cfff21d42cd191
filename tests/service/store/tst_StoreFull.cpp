// A database whose disk is full.
#include "service/store/Errors.h"
#include "service/store/FarmTable.h"
#include "tests/service/support/DialectAround.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace kelvo::test {
namespace {

using store::Transaction;

/** Not part of the contract: the largest number of pages is a setting of SQLite. */
class FullSqlite : public testing::Test
{
protected:
    void setRoom(soci::session& sql, int pages) { sql << "PRAGMA max_page_count = " << pages; }

    void fillUp()
    {
        database.writeNow([this](Transaction& t) {
            writer = &t.sql;
            setRoom(t.sql, 1); // SQLite takes the present number of pages instead
        });
    }

    /** Adds more rows than the free pages have room for. */
    void addFarms(const std::string& letter)
    {
        database.writeNow([&letter, this](Transaction& t) {
            ++runs;
            for (int i = 0; i < 100; ++i) {
                store::addFarm(t, letter + std::to_string(i) + std::string(500, 'x'));
            }
        });
    }

    std::size_t farms()
    {
        return database.readNow([](soci::session& sql) { return store::allFarms(sql).size(); });
    }

    TempFolder folder;
    store::Database database{store::makeSqlite((folder.Path() / "store.sqlite").string())};
    soci::session* writer = nullptr;
    int runs = 0;
};

TEST_F(FullSqlite, RefusesAChangeThatFindsNoRoom)
{
    fillUp();
    EXPECT_THROW(addFarms("a"), store::StorageFull);
    EXPECT_EQ(farms(), 0U);
}

TEST_F(FullSqlite, RunsAChangeAgainAfterRoomWasMade)
{
    int asked = 0;
    database.onFull([&] {
        setRoom(*writer, ++asked < 3 ? 1 : 100000); // the first two attempts do not help
        return true;
    });
    fillUp();
    addFarms("a");
    EXPECT_EQ(farms(), 100U);
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(runs, 4);
}

/** The first commit finds no room. */
class FullAtCommit final : public DialectAround
{
public:
    using DialectAround::DialectAround;

    std::unique_ptr<soci::session> connect() const override { return connectInner(); }

    void commit(soci::session& sql, const std::string& transaction,
                const std::string& notice) const override
    {
        if (std::exchange(isFull, false)) {
            throw std::runtime_error("database or disk is full");
        }
        DialectAround::commit(sql, transaction, notice);
    }

    mutable bool isFull = false;
};

TEST_F(FullSqlite, RunsAChangeAgainIfItsCommitFoundNoRoom)
{
    auto dialect = std::make_unique<FullAtCommit>(store::makeSqlite(folder.Path("commits.sqlite")));
    FullAtCommit& disk = *dialect;
    store::Database commits(std::move(dialect));
    commits.onFull([] { return true; });
    disk.isFull = true;
    const store::Farm farm =
        commits.writeNow([](Transaction& t) { return store::addFarm(t, "Hill Farm"); });
    EXPECT_EQ(farm.id, 1);
    EXPECT_FALSE(disk.isFull);
}

/** Not part of the contract: only SQLite has this file. */
class WriteAheadLog : public FullSqlite
{
protected:
    void writeMiB(int times)
    {
        for (int i = 0; i < times; ++i) {
            database.writeNow([this](Transaction& t) {
                store::addFarm(t, std::to_string(++runs) + std::string(1024UL * 1024, 'x'));
            });
        }
    }

    std::uintmax_t sizeMiB() const
    {
        return std::filesystem::file_size(folder.Path() / "store.sqlite-wal") / (1024UL * 1024);
    }
};

TEST_F(WriteAheadLog, StaysSmall)
{
    writeMiB(40);
    EXPECT_LT(sizeMiB(), 12U);
}

TEST_F(WriteAheadLog, ShrinksAfterALongReader)
{
    database.readNow([this](soci::session& sql) {
        store::allFarms(sql);
        writeMiB(20);
        EXPECT_GT(sizeMiB(), 19U);
        return 0;
    });
    writeMiB(10);
    EXPECT_LE(sizeMiB(), 16U);
}

TEST_F(FullSqlite, GivesUpIfNoRoomCanBeMade)
{
    int asked = 0;
    database.onFull([&] { return ++asked < 3; });
    fillUp();
    EXPECT_THROW(addFarms("a"), store::StorageFull);
    EXPECT_EQ(asked, 3);
    setRoom(*writer, 100000);
    addFarms("b");
    EXPECT_EQ(farms(), 100U);
}

} // namespace
} // namespace kelvo::test
