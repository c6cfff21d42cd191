// A database that another program uses at the same moment.
#include "service/store/Errors.h"
#include "service/store/FarmTable.h"
#include "service/store/Schema.h"
#include "tests/service/support/DialectAround.h"
#include "tests/service/support/OtherProgram.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <memory>
#include <set>
#include <string>

namespace kelvo::test {
namespace {

/** Does not wait for locks. */
class ImpatientDialect final : public DialectAround
{
public:
    using DialectAround::DialectAround;

    std::unique_ptr<soci::session> connect() const override
    {
        auto session = connectInner();
        *session << "PRAGMA busy_timeout = 0";
        return session;
    }
};

/** Not part of the contract: other kinds of database have no lock on the whole database. */
class BusySqlite : public testing::Test
{
protected:
    void addFarm()
    {
        database.writeNow([](store::Transaction& t) { store::addFarm(t, "Hill Farm"); });
    }

    std::size_t farms()
    {
        return database.readNow([](soci::session& sql) { return store::allFarms(sql).size(); });
    }

    /** Opens a second service's database, which does not wait for locks either. */
    static void open(const std::filesystem::path& path)
    {
        const store::Database opened(
            std::make_unique<ImpatientDialect>(store::makeSqlite(path.string())));
    }

    std::filesystem::path file() const { return folder.Path() / "store.sqlite"; }

    TempFolder folder;
    store::Database database{
        std::make_unique<ImpatientDialect>(store::makeSqlite(file().string()))};
    OtherProgram other{*store::makeSqlite(file().string())};
};

TEST_F(BusySqlite, CommitsWhileAnotherProgramReads)
{
    other.beginRead();
    addFarm();
    EXPECT_EQ(farms(), 1U);
    other.unlock();
}

TEST_F(BusySqlite, ReadsWhileAnotherProgramWrites)
{
    other.lockWrites();
    EXPECT_EQ(farms(), 0U);
    other.unlock();
}

TEST_F(BusySqlite, RefusesAChangeWhileAnotherProgramWrites)
{
    bool doubted = false;
    database.onDoubt([&doubted](const store::Notice&) { doubted = true; });
    other.lockWrites();
    EXPECT_THROW(addFarm(), store::StoreBusy);
    other.unlock();
    EXPECT_FALSE(doubted);
    EXPECT_EQ(farms(), 0U);
    addFarm();
    EXPECT_EQ(farms(), 1U);
}

TEST_F(BusySqlite, OpensBesideAReader)
{
    other.beginRead();
    EXPECT_NO_THROW(open(file()));
    other.unlock();
}

TEST_F(BusySqlite, RefusesToMigrateWhileAnotherProgramWrites)
{
    const std::filesystem::path old = folder.Path() / "old.sqlite";
    const auto dialect = store::makeSqlite(old.string());
    store::migrate(*dialect->connect(), *dialect, 1);
    OtherProgram writer(*dialect);
    writer.lockWrites();
    EXPECT_THROW(open(old), store::StoreBusy);
    writer.unlock();
    EXPECT_NO_THROW(open(old));
}

TEST_F(BusySqlite, TakesOverADatabaseWithARollbackJournal)
{
    const std::filesystem::path old = folder.Path() / "old.sqlite";
    {
        store::Database older(store::makeSqliteCopy(old.string()));
        older.writeNow([](store::Transaction& t) { store::addFarm(t, "Old Farm"); });
    }
    OtherProgram reader(*store::makeSqliteCopy(old.string()));
    reader.beginRead();
    EXPECT_THROW(open(old), store::StoreBusy); // the change of the journal needs the whole file
    reader.unlock();
    store::Database newer(store::makeSqlite(old.string()));
    EXPECT_EQ(newer.readNow([](soci::session& sql) { return store::allFarms(sql).size(); }), 1U);
    std::string mode;
    newer.readNow([&mode](soci::session& sql) { sql << "PRAGMA journal_mode", soci::into(mode); });
    EXPECT_EQ(mode, "wal");
}

} // namespace
} // namespace kelvo::test
