// A database locked by another program: the store reports StoreBusy, and never a commit in doubt.
#include "service/store/Errors.h"
#include "service/store/FarmTable.h"
#include "service/store/Schema.h"
#include "tests/service/support/DialectAround.h"
#include "tests/service/support/OtherProgram.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <functional>
#include <memory>
#include <set>

namespace kelvo::test {
namespace {

/** Calls `beforeCommit` before each commit. Does not wait for locks. */
class WatchedDialect final : public DialectAround
{
public:
    using Watch = std::function<void()>;

    WatchedDialect(std::unique_ptr<store::Dialect> real, std::shared_ptr<Watch> beforeCommit)
        : DialectAround(std::move(real)), beforeCommit_(std::move(beforeCommit))
    {}

    std::unique_ptr<soci::session> connect() const override
    {
        auto session = connectInner();
        *session << "PRAGMA busy_timeout = 0";
        session->set_query_transformation([watch = beforeCommit_](const std::string& query) {
            if (query == "COMMIT" && *watch) {
                (*watch)();
            }
            return query;
        });
        return session;
    }

private:
    std::shared_ptr<Watch> beforeCommit_;
};

/** Not part of the contract: other kinds of database have no lock on the whole database. */
class BusySqlite : public testing::Test
{
protected:
    BusySqlite() { disableBusyTimeout(database); }

    void addFarm()
    {
        database.writeNow([](store::Transaction& t) { store::addFarm(t, "Hill Farm"); });
    }

    std::size_t farms()
    {
        return database.readNow([](soci::session& sql) { return store::allFarms(sql).size(); });
    }

    /** Opens a second service's database, which does not wait for locks either. */
    void open(const std::filesystem::path& path)
    {
        const store::Database opened(
            std::make_unique<WatchedDialect>(store::makeSqlite(path.string()), beforeCommit));
    }

    std::filesystem::path file() const { return folder.Path() / "store.sqlite"; }

    TempFolder folder;
    std::shared_ptr<WatchedDialect::Watch> beforeCommit = std::make_shared<WatchedDialect::Watch>();
    store::Database database{
        std::make_unique<WatchedDialect>(store::makeSqlite(file().string()), beforeCommit)};
    OtherProgram other{file()};
};

TEST_F(BusySqlite, ChangesNothingWhenItCannotCommit)
{
    bool isInDoubt = false;
    database.onDoubt([&isInDoubt](const std::set<store::Id>&) { isInDoubt = true; });
    other.lockShared();
    EXPECT_THROW(addFarm(), store::StoreBusy);
    EXPECT_FALSE(isInDoubt);
    other.unlock();
    EXPECT_EQ(farms(), 0U);
    addFarm();
    EXPECT_EQ(farms(), 1U);
}

TEST_F(BusySqlite, RetriesTheCommit)
{
    other.lockShared();
    int commits = 0;
    *beforeCommit = [&] {
        ++commits;
        if (commits == 2) {
            other.unlock();
        }
    };
    addFarm();
    EXPECT_EQ(commits, 2);
    *beforeCommit = nullptr;
    EXPECT_EQ(farms(), 1U);
}

TEST_F(BusySqlite, GivesUpCommittingAfterThreeAttempts)
{
    other.lockShared();
    int commits = 0;
    *beforeCommit = [&commits] { ++commits; };
    EXPECT_THROW(addFarm(), store::StoreBusy);
    EXPECT_EQ(commits, 3);
    *beforeCommit = nullptr;
}

TEST_F(BusySqlite, OpensBesideAReaderIfItsSchemaIsCurrent)
{
    other.lockShared();
    EXPECT_NO_THROW(open(file()));
}

TEST_F(BusySqlite, IsBusyIfItsSchemaCannotBeMigrated)
{
    const std::filesystem::path old = folder.Path() / "old.sqlite";
    const auto dialect = store::makeSqlite(old.string());
    store::migrate(*dialect->connect(), *dialect, 1);
    OtherProgram reader(old);
    reader.lockShared();
    EXPECT_THROW(open(old), store::StoreBusy);
    reader.unlock();
    EXPECT_NO_THROW(open(old));
}

TEST_F(BusySqlite, IsBusyForReadsAndWritesBesideAnExclusiveLock)
{
    other.lockExclusive();
    EXPECT_THROW(farms(), store::StoreBusy);
    EXPECT_THROW(addFarm(), store::StoreBusy);
    other.unlock();
    addFarm();
    EXPECT_EQ(farms(), 1U);
}

} // namespace
} // namespace kelvo::test
