// The text that a peer on an event stream receives.
#include "service/events/EventStream.h"
#include "service/store/Errors.h"
#include "service/store/EventTable.h"
#include "service/store/FarmTable.h"
#include "service/store/SessionTable.h"
#include "service/store/UserTable.h"
#include "tests/service/support/FaultyCommitDialect.h"
#include "tests/service/support/ManualClock.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

namespace kelvo::events {
namespace {

class Streaming : public testing::Test
{
protected:
    Streaming()
    {
        database.onCommit([this](const std::vector<store::Event>& all) { broker.publish(all); });
        database.onDoubt([this](const store::Notice& notice) { broker.notice(notice); });
        session.tokenHash = "hash";
        session.expiresMs = clock.nowMs() + 3600 * 1000;
        session.user = database.writeNow([this](store::Transaction& t) {
            const store::Farm farm = store::addFarm(t, "Hill Farm");
            const store::User user =
                store::addUser(t, {farm, "olga", store::ERole::Operator, "hash", 0});
            store::addSession(t, session.tokenHash, user.id, clock.nowMs(), session.expiresMs);
            return user;
        });
    }

    ~Streaming() override
    {
        pair.client->abort();
        loop.runUntil([this] { return ended || !started; });
    }

    void addEvents(int count, const std::string& data = "{}")
    {
        database.writeNow([&](store::Transaction& t) {
            for (int i = 0; i < count; ++i) {
                store::addEvent(t,
                                {session.user.farmId(), 0, "thing", session.user.id, data, "", 0});
            }
        });
    }

    /** Starts the stream; read it from pair.client. */
    void stream(store::Id cursor)
    {
        subscription = broker.subscribe(loop.executor(), session);
        started = true;
        loop.start(serve(cursor));
    }

    EventStream newStream(store::Id cursor)
    {
        const auto note = [this](const store::Session& known) -> Async<void> {
            beats.push_back(known.tokenHash);
            co_return;
        };
        return {subscription, cursor, database, clock, {}, note};
    }

    Async<void> serve(store::Id cursor)
    {
        EventStream stream = newStream(cursor);
        co_await stream.run(*pair.server);
        ended = true;
    }

    /** Reads until `end` has been received. */
    std::string readUntil(const std::string& end)
    {
        return loop.run(test::readUntil(*pair.client, end));
    }

    static std::string eventsText(int first, int last, const std::string& data = "{}")
    {
        std::string text;
        for (int id = first; id <= last; ++id) {
            text += "id: " + std::to_string(id) + "\nevent: thing\ndata: " + data + "\n\n";
        }
        return text;
    }

    test::TempFolder folder;
    test::ManualClock clock;
    test::Loop loop;
    EventBroker broker;
    std::shared_ptr<test::CommitFault> fault = std::make_shared<test::CommitFault>();
    store::Database database{std::make_unique<test::FaultyCommitDialect>(
        store::makeSqlite((folder.Path() / "store.sqlite").string()), fault)};
    test::TcpPair pair{loop.io()};
    store::Session session;
    std::shared_ptr<Subscription> subscription;
    std::vector<std::string> beats; // the sessions of the heartbeats
    bool started = false;
    bool ended = false;
};

TEST_F(Streaming, SendsACommentAtOnce)
{
    stream(0);
    EXPECT_EQ(readUntil("\n\n"), ": connected\n\n");
}

TEST_F(Streaming, SendsTheLogAndThenLiveEvents)
{
    addEvents(450); // more than two pages of the log
    stream(3);
    EXPECT_EQ(readUntil("id: 450\nevent: thing\ndata: {}\n\n"),
              ": connected\n\n" + eventsText(4, 450));
    addEvents(2);
    EXPECT_EQ(readUntil("id: 452\nevent: thing\ndata: {}\n\n"), eventsText(451, 452));
}

TEST_F(Streaming, SendsEventsOnceThatAreCommittedWhileItReadsTheLog)
{
    addEvents(10);
    stream(0);
    addEvents(10); // in the queue, and in the log when it is read
    EXPECT_EQ(readUntil("id: 20\nevent: thing\ndata: {}\n\n"),
              ": connected\n\n" + eventsText(1, 20));
}

TEST_F(Streaming, ReadsTheLogWhenItsQueueIsFull)
{
    stream(0);
    readUntil("\n\n");
    for (int i = 0; i < 7; ++i) {
        addEvents(100); // the loop does not run meanwhile, so the queue is not emptied
    }
    EXPECT_EQ(readUntil("id: 700\nevent: thing\ndata: {}\n\n"), eventsText(1, 700));
}

TEST_F(Streaming, ReadsTheLogWhenAnEventIsMissingInItsQueue)
{
    stream(0);
    readUntil("\n\n");
    database.onCommit(
        [this](const std::vector<store::Event>& events) { broker.publish({events.back()}); });
    addEvents(2);
    EXPECT_EQ(readUntil("id: 2\nevent: thing\ndata: {}\n\n"), eventsText(1, 2));
}

TEST_F(Streaming, SendsEventsOfACommitThatWasReportedAsFailed)
{
    addEvents(1);
    stream(0);
    readUntil("id: 1\nevent: thing\ndata: {}\n\n");
    fault->failNext = true;
    EXPECT_THROW(addEvents(3), store::CommitInDoubt);
    EXPECT_EQ(readUntil("id: 4\nevent: thing\ndata: {}\n\n"), eventsText(2, 4))
        << "before another event";
    addEvents(1);
    EXPECT_EQ(readUntil("id: 5\nevent: thing\ndata: {}\n\n"), eventsText(5, 5));
}

TEST_F(Streaming, LooksForMissedEventsAtEachHeartbeat)
{
    stream(0);
    readUntil("\n\n");
    subscription->doubt(); // as a heartbeat
    readUntil(":\n\n");    // after the first reading of the log
    database.onCommit({});
    addEvents(2);
    subscription->doubt();
    EXPECT_EQ(readUntil("id: 2\nevent: thing\ndata: {}\n\n"), ":\n\n" + eventsText(1, 2));
}

TEST_F(Streaming, TellsItsSessionAfterEachHeartbeat)
{
    stream(0);
    readUntil("\n\n");
    EXPECT_THAT(beats, testing::IsEmpty());
    subscription->doubt(); // as a heartbeat
    loop.runUntil([this] { return !beats.empty(); });
    EXPECT_THAT(beats, testing::ElementsAre(session.tokenHash));
}

TEST_F(Streaming, EndsAtOnceIfTheEndOfItsSessionWasReportedAsFailed)
{
    stream(0);
    readUntil("\n\n");
    fault->failNext = true;
    EXPECT_THROW(database.writeNow(
                     [this](store::Transaction& t) { store::removeSession(t, session.tokenHash); }),
                 store::CommitInDoubt);
    EXPECT_EQ(loop.run(test::readAll(*pair.client)),
              "event: session-ended\ndata: {\"reason\":\"revoked\"}\n\n");
}

TEST_F(Streaming, SendsNoEventOfAFailedCommit)
{
    database.writeNow([](store::Transaction& t) {
        t.sql << "CREATE TABLE doom (farm_id BIGINT REFERENCES farms (id)"
                 " DEFERRABLE INITIALLY DEFERRED)";
    });
    stream(0);
    readUntil("\n\n");
    const auto fail = [this] {
        database.writeNow([this](store::Transaction& t) {
            store::addEvent(t, {session.user.farmId(), 0, "lost", session.user.id, "{}", "", 0});
            t.sql << "INSERT INTO doom VALUES (-1)"; // only COMMIT finds this error
        });
    };
    EXPECT_THROW(fail(), store::CommitInDoubt);
    addEvents(2);
    EXPECT_EQ(readUntil("id: 2\nevent: thing\ndata: {}\n\n"), eventsText(1, 2));
}

TEST_F(Streaming, EndsIfTheLogWasPrunedBeyondTheCursor)
{
    addEvents(10);
    database.writeNow(
        [this](store::Transaction& t) { store::pruneEventsTo(t, session.user.farmId(), 5); });
    stream(3);
    EXPECT_EQ(loop.run(test::readAll(*pair.client)), ": connected\n\n");
}

TEST_F(Streaming, SkipsEventsThatAreForOthers)
{
    database.writeNow([this](store::Transaction& t) {
        store::addEvent(t, {session.user.farmId(), 0, "secret", 999, "{}", "", 0});
    });
    addEvents(1);
    stream(0);
    EXPECT_EQ(readUntil("id: 2\nevent: thing\ndata: {}\n\n"), ": connected\n\n" + eventsText(2, 2));
}

TEST_F(Streaming, SendsTheReasonWhenTheSessionEndsAndCloses)
{
    stream(0);
    readUntil("\n\n");
    broker.endSession("somebody else's", "logged-out");
    broker.endSession(session.tokenHash, "logged-out");
    EXPECT_EQ(loop.run(test::readAll(*pair.client)),
              "event: session-ended\ndata: {\"reason\":\"logged-out\"}\n\n");
}

TEST_F(Streaming, EndsAllStreamsOfAUser)
{
    stream(0);
    readUntil("\n\n");
    broker.endSessionsOf(session.user.id, "disabled");
    EXPECT_THAT(loop.run(test::readAll(*pair.client)), testing::HasSubstr("\"disabled\""));
}

TEST_F(Streaming, EndsTheOldestStreamsFirstWithoutEndingTheirSessions)
{
    const auto oldest = broker.subscribe(loop.executor(), session);
    stream(0);
    readUntil("\n\n");
    broker.retire(1);
    addEvents(1);
    EXPECT_EQ(readUntil("id: 1\nevent: thing\ndata: {}\n\n"), eventsText(1, 1));
    EXPECT_TRUE(oldest->isRetired());
    EXPECT_FALSE(subscription->isRetired());
    addEvents(1);
    broker.retire(0);
    EXPECT_EQ(loop.run(test::readAll(*pair.client)), eventsText(2, 2));
    EXPECT_EQ(broker.openStreams(), 0U);
}

TEST_F(Streaming, EndsWhenTheSessionExpires)
{
    addEvents(1);
    session.expiresMs = clock.nowMs();
    stream(0);
    EXPECT_EQ(loop.run(test::readAll(*pair.client)),
              ": connected\n\n" + eventsText(1, 1) +
                  "event: session-ended\ndata: {\"reason\":\"expired\"}\n\n");
}

TEST_F(Streaming, LeavesNoReaderOnTheTransportIfTheLogCannotBeRead)
{
    database.writeNow([](store::Transaction& t) { t.sql << "DROP TABLE events"; });
    long readers = 0;
    const auto serveAndFail = [this, &readers]() -> Async<void> {
        try {
            EventStream stream = newStream(0);
            co_await stream.run(*pair.server);
        } catch (const std::exception&) {
            readers = subscription.use_count() - 1; // without the test's own reference
            ended = true;
        }
    };
    subscription = broker.subscribe(loop.executor(), session);
    started = true;
    loop.start(serveAndFail());
    EXPECT_EQ(loop.run(test::readAll(*pair.client)), ": connected\n\n");
    pair.client->abort();
    loop.runUntil([this] { return ended; });
    EXPECT_EQ(readers, 0);
}

TEST_F(Streaming, EndsWhenThePeerLeaves)
{
    stream(0);
    readUntil("\n\n");
    EXPECT_EQ(broker.openStreams(), 1U);
    pair.client->abort();
    loop.runUntil([this] { return ended; });
    subscription.reset();
    EXPECT_EQ(broker.openStreams(), 0U);
}

} // namespace
} // namespace kelvo::events
