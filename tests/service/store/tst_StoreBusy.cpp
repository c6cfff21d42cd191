// A database that somebody else keeps: what cannot be done is said so, and leaves no doubt.
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

/** Tells of each commit before it is tried, and waits for nobody. */
class WatchedDialect final : public DialectAround
{
public:
    using Watch = std::function<void()>;

    WatchedDialect(std::unique_ptr<store::Dialect> real, std::shared_ptr<Watch> beforeCommit)
        : DialectAround(std::move(real)), beforeCommit_(std::move(beforeCommit))
    {}

    std::unique_ptr<soci::session> connect() const override
    {
        auto session = connectReally();
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

/** Not of the contract: other kinds of database have no lock on the whole. */
class BusySqlite : public testing::Test
{
protected:
    BusySqlite() { makeImpatient(database); }

    void addFarm()
    {
        database.writeNow([](store::Transaction& t) { store::addFarm(t, "Hill Farm"); });
    }

    std::size_t farms()
    {
        return database.readNow([](soci::session& sql) { return store::allFarms(sql).size(); });
    }

    /** A second service, which is as impatient. */
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
    bool doubted = false;
    database.onDoubt([&doubted](const std::set<store::Id>&) { doubted = true; });
    other.read();
    EXPECT_THROW(addFarm(), store::StoreBusy);
    EXPECT_FALSE(doubted);
    other.letGo();
    EXPECT_EQ(farms(), 0U);
    addFarm();
    EXPECT_EQ(farms(), 1U);
}

TEST_F(BusySqlite, TriesToCommitAgain)
{
    other.read();
    int commits = 0;
    *beforeCommit = [&] {
        ++commits;
        if (commits == 2) {
            other.letGo();
        }
    };
    addFarm();
    EXPECT_EQ(commits, 2);
    *beforeCommit = nullptr;
    EXPECT_EQ(farms(), 1U);
}

TEST_F(BusySqlite, TriesToCommitNotForEver)
{
    other.read();
    int commits = 0;
    *beforeCommit = [&commits] { ++commits; };
    EXPECT_THROW(addFarm(), store::StoreBusy);
    EXPECT_EQ(commits, 3);
    *beforeCommit = nullptr;
}

TEST_F(BusySqlite, OpensBesideAReaderWhenItsSchemaIsUpToDate)
{
    other.read();
    EXPECT_NO_THROW(open(file()));
}

TEST_F(BusySqlite, SaysSoWhenItCannotBringItsSchemaUpToDate)
{
    const std::filesystem::path old = folder.Path() / "old.sqlite";
    const auto dialect = store::makeSqlite(old.string());
    store::migrate(*dialect->connect(), *dialect, 1);
    OtherProgram reader(old);
    reader.read();
    EXPECT_THROW(open(old), store::StoreBusy);
    reader.letGo();
    EXPECT_NO_THROW(open(old));
}

TEST_F(BusySqlite, SaysSoToWhoeverWantsToReadOrBegin)
{
    other.keep();
    EXPECT_THROW(farms(), store::StoreBusy);
    EXPECT_THROW(addFarm(), store::StoreBusy);
    other.letGo();
    addFarm();
    EXPECT_EQ(farms(), 1U);
}

} // namespace
} // namespace kelvo::test
