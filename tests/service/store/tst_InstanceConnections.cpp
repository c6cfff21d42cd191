// Several instances on one database: notices, lost connections, commits without an answer.
#include "service/store/Errors.h"
#include "service/store/EventTable.h"
#include "service/store/SessionTable.h"
#include "tests/service/store/InstancesFixture.h"
#include "tests/service/support/DialectAround.h"

#include <gmock/gmock.h>

#include <chrono>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace kelvo::test {
namespace {

TEST_P(Instances, TellTheOthersWhatTheyCommit)
{
    const store::User user = addFarmWithUser();
    const auto here = database->listen();
    const auto there = other->listen();
    const auto change = [&user](store::Database& instance, const std::string& token) {
        instance.writeNow([&](Transaction& t) {
            store::addEvent(t, {user.farmId(), 0, "thing", 0, "{}", "", now});
            store::removeSession(t, token);
        });
    };
    const auto next = [](store::NoticeSource& source) {
        std::vector<std::string> texts;
        while (texts.empty()) {
            texts = source.wait(std::chrono::seconds(60));
        }
        return texts;
    };
    change(*database, "aa");
    EXPECT_THAT(next(*there), testing::ElementsAre("f1 saa"));
    change(*other, "bb");
    EXPECT_THAT(next(*here), testing::ElementsAre("f1 sbb")) << "also its own notice";
}

TEST_P(Instances, TellNothingOfAFailedChange)
{
    const auto there = other->listen();
    EXPECT_THROW(write([](Transaction& t) {
                     store::removeSession(t, "lost");
                     throw std::logic_error("no");
                 }),
                 std::logic_error);
    write([](Transaction& t) { store::removeSession(t, "kept"); });
    EXPECT_THAT(there->wait(std::chrono::seconds(60)), testing::ElementsAre("skept"));
}

void endAllConnections(store::Database& database)
{
    database.readNow([](soci::session& sql) {
        int ended = 0;
        sql << "SELECT COUNT(pg_terminate_backend(pid)) FROM pg_stat_activity"
               " WHERE datname = current_database() AND pid <> pg_backend_pid()",
            soci::into(ended);
        return ended;
    });
}

TEST_P(Instances, ConnectAgainAfterTheServerHasEndedTheConnections)
{
    addFarm("Hill Farm");
    read(store::countEnabledAdmins); // a connection for reading
    endAllConnections(*other);
    EXPECT_EQ(read(store::countEnabledAdmins), 0);
    EXPECT_EQ(addFarm("Dale Farm").id, 2);
}

TEST_P(Instances, ChangeNothingIfTheConnectionIsLostInATransaction)
{
    bool doubted = false;
    database->onDoubt([&doubted](const store::Notice&) { doubted = true; });
    EXPECT_THROW(write([this](Transaction& t) {
                     store::addFarm(t, "Lost Farm");
                     endAllConnections(*other);
                     store::addFarm(t, "Other Farm");
                 }),
                 store::StoreBusy);
    EXPECT_FALSE(doubted);
    EXPECT_EQ(addFarm("Hill Farm").id, 1);
}

TEST_P(Instances, RepeatAReadWhoseConnectionIsLost)
{
    addFarm("Hill Farm");
    int runs = 0;
    const std::size_t farms = read([this, &runs](soci::session& sql) {
        if (++runs == 1) {
            endAllConnections(*other);
        }
        return store::allFarms(sql).size();
    });
    EXPECT_EQ(farms, 1U);
    EXPECT_EQ(runs, 2);
}

TEST_P(Instances, NoticeThatACommitRollsBack)
{
    const auto dialect = GetParam().connect(folder.Path());
    const auto sql = dialect->connect();
    const store::WriteStart start = dialect->beginWrite(*sql, {store::Scope::all()});
    EXPECT_ANY_THROW(*sql << "SELECT no_such_column FROM farms");
    EXPECT_THROW(dialect->commit(*sql, start.transaction, {}), std::runtime_error);
    EXPECT_TRUE(dialect->isUsable(*sql));
}

/**
 * Its connections end after they have sent a COMMIT: the answer is lost. The connections of this
 * process from before its own stay.
 */
class DeafAtCommit final : public DialectAround
{
public:
    explicit DeafAtCommit(std::unique_ptr<store::Dialect> real)
        : DialectAround(std::move(real)), firstSocket_(::dup(0))
    {
        ::close(firstSocket_); // the lowest free number
    }

    std::unique_ptr<soci::session> connect() const override { return connectInner(); }

    void commit(soci::session& sql, const std::string& transaction,
                const std::string& notice) const override
    {
        const bool isDeaf = std::exchange(deaf, false);
        for (int socket = firstSocket_; isDeaf && socket < 1024; ++socket) {
            sockaddr_un peer{};
            socklen_t size = sizeof peer;
            if (::getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
                peer.sun_family == AF_UNIX &&
                std::string_view(peer.sun_path).find("PGSQL") != std::string_view::npos) {
                ::shutdown(socket, SHUT_RD);
            }
        }
        DialectAround::commit(sql, transaction, notice);
    }

    mutable bool deaf = false;

private:
    int firstSocket_;
};

TEST_P(Instances, LearnTheOutcomeOfACommitWithoutAnAnswer)
{
    auto dialect = std::make_unique<DeafAtCommit>(GetParam().connect(folder.Path()));
    DeafAtCommit& link = *dialect;
    store::Database instance(std::move(dialect));
    link.deaf = true;
    const store::Farm farm =
        instance.writeNow([](Transaction& t) { return store::addFarm(t, "Hill Farm"); });
    EXPECT_FALSE(link.deaf);
    EXPECT_EQ(farm.id, 1);
    EXPECT_EQ(read([](soci::session& sql) { return store::allFarms(sql).size(); }), 1U);
}

TEST_P(Instances, HearTheirOwnNoticeOfACommitWithoutAnAnswer)
{
    const store::User user = addFarmWithUser();
    auto real = GetParam().connect(folder.Path());
    const auto notices = real->listen();
    auto dialect = std::make_unique<DeafAtCommit>(std::move(real));
    DeafAtCommit& link = *dialect;
    store::Database instance(std::move(dialect));
    link.deaf = true;
    instance.writeNow([&user](Transaction& t) {
        store::addEvent(t, {user.farmId(), 0, "thing", 0, "{}", "", now});
    });
    write([](Transaction& t) { store::removeSession(t, "last"); });
    std::vector<std::string> texts;
    while (texts.empty() || texts.back() != "slast") {
        for (std::string& text : notices->wait(std::chrono::seconds(60))) {
            texts.push_back(std::move(text));
        }
    }
    EXPECT_THAT(texts, testing::ElementsAre("f1", "slast"));
}

TEST_P(Instances, WaitForTheOutcomeOfACommitThatStillRuns)
{
    write([](Transaction& t) {
        t.sql << "CREATE FUNCTION hold() RETURNS trigger LANGUAGE plpgsql AS"
                 " 'BEGIN PERFORM pg_advisory_xact_lock(7); RETURN NULL; END'";
        t.sql << "CREATE CONSTRAINT TRIGGER hold AFTER INSERT ON farms"
                 " DEFERRABLE INITIALLY DEFERRED FOR EACH ROW EXECUTE FUNCTION hold()";
    });
    auto holder = GetParam().connect(folder.Path())->connect();
    *holder << "SELECT pg_advisory_lock(7)";
    EXPECT_EQ(waiting(), 0); // its connection is older than those that end
    auto dialect = std::make_unique<DeafAtCommit>(GetParam().connect(folder.Path()));
    DeafAtCommit& link = *dialect;
    store::Database instance(std::move(dialect));
    link.deaf = true;
    std::atomic<bool> isDone = false;
    std::thread beside([&] {
        EXPECT_NO_THROW(instance.writeNow([](Transaction& t) { store::addFarm(t, "Hill Farm"); }));
        isDone = true;
    });
    while (!isDone && waiting() < 2) { // the COMMIT, and the question whether it has committed
        std::this_thread::yield();
    }
    holder.reset();
    beside.join();
    EXPECT_EQ(read([](soci::session& sql) { return store::allFarms(sql).size(); }), 1U);
}

/** Ends a process of the server. The server then ends all others and recovers. */
void crashServer(const store::Dialect& dialect)
{
    const auto sql = dialect.connect();
    EXPECT_ANY_THROW(*sql << "COPY (SELECT 1) TO PROGRAM 'kill -9 $PPID'");
}

TEST_P(Instances, LearnThatACrashedServerHasLostTheChange)
{
    const auto dialect = GetParam().connect(folder.Path());
    const auto sql = dialect->connect();
    const std::string transaction = dialect->beginWrite(*sql, {store::Scope::all()}).transaction;
    crashServer(*dialect);
    for (bool isBack = false; !isBack;) {
        try {
            other->writeNow([](Transaction& t) { store::addFarm(t, "Dale Farm"); });
            isBack = true; // this transaction may have the same id
        } catch (const store::StoreBusy&) {
        }
    }
    EXPECT_THROW(dialect->commit(*sql, transaction, {}), store::StoreBusy);
}

TEST_P(Instances, RefuseAPasswordInTheUrl)
{
    const std::string secret = "geheim";
    for (const std::string& url : {"postgresql://kelvo:" + secret + "@db.example/kelvo",
                                   "postgresql://db.example/kelvo?password=" + secret,
                                   "postgresql://kelvo:" + secret + "@[db.example/kelvo"}) {
        try {
            store::makePostgresql(url);
            ADD_FAILURE() << url;
        } catch (const std::exception& error) {
            EXPECT_THAT(error.what(), testing::Not(testing::HasSubstr(secret)));
        }
    }
    EXPECT_ANY_THROW(store::makePostgresql("postgresql://db.example/kelvo?sslmode=require"));
}

} // namespace
} // namespace kelvo::test
