// Statements on PostgreSQL that are sent together, and statements that are prepared.
#include "service/store/Errors.h"
#include "tests/service/store/InstancesFixture.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <memory>
#include <string>

namespace kelvo::test {
namespace {

class DeferredStatements : public StoreContract
{
protected:
    DeferredStatements()
    {
        *sql << "CREATE TABLE things (id INTEGER PRIMARY KEY, size INTEGER NOT NULL DEFAULT 0)";
        *sql << "CREATE SEQUENCE runs";
    }

    /** `id` is in the text, so each is another statement. */
    void add(int id) { *sql << "INSERT INTO things (id) VALUES (" << id << ")"; }

    int number(const std::string& query)
    {
        int value = 0;
        *sql << query, soci::into(value);
        return value;
    }

    int things() { return number("SELECT COUNT(*) FROM things"); }
    int preparedStatements() { return number("SELECT COUNT(*) FROM pg_prepared_statements"); }

    std::unique_ptr<store::Dialect> dialect = GetParam().connect(folder.Path());
    std::unique_ptr<soci::session> sql = dialect->connect();
};

TEST_P(DeferredStatements, FailTogetherWithTheNextStatementWhichIsNotExecuted)
{
    *sql << "BEGIN";
    add(1);
    EXPECT_NO_THROW(add(1));
    EXPECT_ANY_THROW(number("SELECT nextval('runs')"));
    *sql << "ROLLBACK";
    EXPECT_EQ(number("SELECT nextval('runs')"), 1);
}

TEST_P(DeferredStatements, TellTheFirstOfSeveralFailures)
{
    *sql << "BEGIN";
    add(1);
    add(1);
    *sql << "INSERT INTO no_such_table VALUES (1)";
    try {
        things();
        ADD_FAILURE() << "no failure";
    } catch (const std::exception& error) {
        EXPECT_NE(std::string(error.what()).find("things_pkey"), std::string::npos);
    }
}

TEST_P(DeferredStatements, AreExecutedInTheirOrder)
{
    *sql << "BEGIN";
    add(1);
    *sql << "UPDATE things SET size = 7";
    *sql << "DELETE FROM things WHERE size = 0";
    EXPECT_EQ(number("SELECT size FROM things"), 7);
}

TEST_P(DeferredStatements, TellTheNumberOfTheirOwnRows)
{
    *sql << "BEGIN";
    add(1);
    add(2);
    soci::statement change = (sql->prepare << "UPDATE things SET size = 1");
    change.execute(true);
    EXPECT_EQ(change.get_affected_rows(), 2);
}

TEST_P(DeferredStatements, AreForgottenByARollbackToASavepoint)
{
    *sql << "BEGIN";
    *sql << "SAVEPOINT change";
    add(1);
    add(1);
    EXPECT_NO_THROW(*sql << "ROLLBACK TO SAVEPOINT change");
    add(2);
    EXPECT_EQ(number("SELECT MAX(id) FROM things"), 2);
    EXPECT_EQ(things(), 1);
}

TEST_P(DeferredStatements, AreSentAfter64AtTheLatest)
{
    *sql << "BEGIN";
    add(1);
    *sql << "INSERT INTO things (id, size) VALUES (1, 0)";
    for (int id = 2; id < 64; ++id) {
        ASSERT_NO_THROW(add(id));
    }
    EXPECT_ANY_THROW(add(64));
}

TEST_P(DeferredStatements, FailAtOnceOutsideATransaction)
{
    add(1);
    EXPECT_ANY_THROW(add(1));
}

TEST_P(DeferredStatements, PrepareAStatementThatRunsAgain)
{
    preparedStatements();
    const int before = preparedStatements(); // it counts itself from the second run on
    things();
    EXPECT_EQ(preparedStatements(), before);
    things();
    things();
    EXPECT_EQ(preparedStatements(), before + 1);
}

TEST_P(DeferredStatements, PrepareALimitedNumberOfStatements)
{
    for (int id = 0; id < 410; ++id) {
        const std::string query = "SELECT " + std::to_string(id);
        number(query);
        EXPECT_EQ(number(query), id);
    }
    EXPECT_LE(preparedStatements(), 400);
    EXPECT_GT(preparedStatements(), 350);
}

TEST_P(DeferredStatements, RunAgainAfterTheirPreparationHasFailed)
{
    things();
    *sql << "ALTER TABLE things RENAME TO others";
    EXPECT_ANY_THROW(things());
    *sql << "ALTER TABLE others RENAME TO things";
    EXPECT_EQ(things(), 0);
    EXPECT_EQ(things(), 0);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(DeferredStatements);
INSTANTIATE_TEST_SUITE_P(Databases, DeferredStatements, testing::ValuesIn(serverKinds()), nameOf);

} // namespace
} // namespace kelvo::test
