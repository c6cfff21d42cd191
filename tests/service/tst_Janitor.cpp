// The data that the janitor removes, and the data that it keeps.
#include "service/Janitor.h"
#include "service/api/UploadSteps.h"
#include "service/base/Digest.h"
#include "service/store/Errors.h"
#include "service/store/EventTable.h"
#include "service/store/FarmRemoval.h"
#include "service/store/SessionTable.h"
#include "service/store/UploadTable.h"
#include "tests/service/support/ApiFixture.h"
#include "tests/service/support/TcpPair.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

namespace kelvo {
namespace {

using namespace std::chrono_literals;

class CleanUp : public test::ApiFixture
{
protected:
    CleanUp()
    {
        // Files have the system's time, and the janitor uses their age.
        clock.Advance(std::chrono::milliseconds(SystemClock().nowMs() - clock.nowMs()));
    }

    void cleanUp(int eventHours = 0) { Janitor::cleanUp(parts, {eventHours}); }

    /** A content that no file refers to. */
    void leaveContent(const std::string& text)
    {
        contents.adopt(begin(text).id, sha256Hex(text)); // the power fails before the commit
    }

    void setDatabaseBirth(long long ms)
    {
        database.writeNow([ms](store::Transaction& t) {
            t.sql << "UPDATE users SET created_ms = :ms", soci::use(ms);
        });
    }

    store::Upload begin(const std::string& text)
    {
        const store::Upload upload =
            ApiFixture::begin("a.zip", static_cast<long long>(text.size()));
        folderContents.receive(upload.id)->append(text.data(), text.size());
        return upload;
    }

    store::File upload(const std::string& text)
    {
        const store::Upload begun = begin(text);
        const auto receiver = folderContents.receive(begun.id);
        loop.run(api::finishUpload(context, begun, *receiver, "192.0.2.1"));
        return files().back();
    }

    void remove(store::Id file)
    {
        database.writeNow([this, file](store::Transaction& t) {
            store::moveToBin(t, user.farmId(), file, "olga", clock.nowMs());
        });
    }

    void addSession(long long expiresMs)
    {
        database.writeNow([this, expiresMs](store::Transaction& t) {
            store::addSession(t, "old", user.id, 0, expiresMs);
        });
    }

    int countSessions()
    {
        return database.readNow([](soci::session& sql) {
            int count = 0;
            sql << "SELECT COUNT(*) FROM sessions", soci::into(count);
            return count;
        });
    }

    bool clockIsTrusted = true;
    HeldBack heldBack;
    const Janitor::Parts parts{database,
                               folderContents,
                               &contents,
                               {},
                               digestLocks,
                               clock,
                               [this](const std::string& id) { return activeUploads.isHeld(id); },
                               [this] { return clockIsTrusted; },
                               heldBack,
                               reserve};
};

TEST_F(CleanUp, KeepsDataInUse)
{
    upload("abc");
    const store::Upload open = begin("half");
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::ElementsAre(sha256Hex("abc")));
    EXPECT_THAT(contents.uploadIds(), testing::ElementsAre(open.id));
    EXPECT_EQ(files().size(), 1U);
}

TEST_F(CleanUp, EmptiesTheBinAfterThirtyDaysAndThenItsContents)
{
    const store::File file = upload("abc");
    remove(file.id);
    clock.Advance(24h * 30);
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::SizeIs(1)) << "removed before thirty days";
    clock.Advance(1ms);
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
}

TEST_F(CleanUp, RemovesTheRestOfADeletedFarm)
{
    upload("abc");
    addSession(clock.nowMs() + 1000);
    database.writeNow(
        [this](store::Transaction& t) { store::deleteFarm(t, user.farmId(), clock.nowMs()); });
    clockIsTrusted = false; // the farm is not removed by its age
    Janitor::cleanUp(parts, {}, [] { return true; });
    EXPECT_EQ(countSessions(), 1) << "the service stops";
    cleanUp();
    EXPECT_EQ(countSessions(), 0);
    EXPECT_THAT(database.readNow(store::deletedFarms), testing::IsEmpty());
    EXPECT_THAT(contents.digests(), testing::SizeIs(1)) << "a restored backup may need it";
}

TEST_F(CleanUp, KeepsAContentThatAnotherFileShares)
{
    remove(upload("abc").id);
    upload("abc");
    clock.Advance(24h * 31);
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::ElementsAre(sha256Hex("abc")));
}

TEST_F(CleanUp, RemovesExpiredUploads)
{
    const store::Upload open = begin("half");
    clock.Advance(24h * 7);
    cleanUp();
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
    EXPECT_FALSE(
        database.readNow([&open](soci::session& sql) { return store::uploadById(sql, open.id); }));
}

TEST_F(CleanUp, KeepsAnUploadThatARequestWorksOn)
{
    const store::Upload open = begin("half");
    test::TcpPair pair(loop.io());
    const http::Limits limits;
    const http::RequestHead head;
    std::string early;
    http::BodyReader body(*pair.server, limits, head, early);
    auto hold = loop.run(activeUploads.take(open.id, body));
    clock.Advance(24h * 8);
    cleanUp();
    EXPECT_THAT(contents.uploadIds(), testing::ElementsAre(open.id));
    hold.reset();
    cleanUp();
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
}

TEST_F(CleanUp, RemovesLeftoversOfACrashAfterAWeek)
{
    leaveContent("abc");
    replaceFile(folder.Path() / "uploads" / "0123456789abcdef", "stray", 0600);
    for (int day = 0; day <= 6; ++day) {
        cleanUp();
        EXPECT_THAT(contents.digests(), testing::SizeIs(1)) << "day " << day;
        EXPECT_THAT(contents.uploadIds(), testing::SizeIs(1)) << "day " << day;
        clock.Advance(24h);
    }
    clock.Advance(24h);
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
}

TEST_F(CleanUp, RemovesLeftoversOfACrashAtOnceWithZeroDays)
{
    leaveContent("abc");
    replaceFile(folder.Path() / "uploads" / "0123456789abcdef", "stray", 0600);
    clock.Advance(1h); // the clock of the file system may lag
    Janitor::cleanUp(parts, {0, std::chrono::days(0)});
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
}

TEST_F(CleanUp, RemovesTheLeftoverOfAFinishedUploadAtOnce)
{
    const store::Upload begun = begin("abc");
    const auto receiver = folderContents.receive(begun.id);
    loop.run(api::finishUpload(context, begun, *receiver, "192.0.2.1"));
    replaceFile(folder.Path() / "uploads" / begun.id, "abc",
                0600); // a crash before the upload's second name was removed
    cleanUp();
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
    EXPECT_THAT(contents.digests(), testing::SizeIs(1));
}

TEST_F(CleanUp, StartsTheWeekWhenAContentIsFoundUnused)
{
    leaveContent("abc");
    clock.Advance(24h * 100); // an old content, as beside a database from long ago
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::SizeIs(1));
}

TEST_F(CleanUp, RestartsTheWeekWhenAContentWasUsedMeanwhile)
{
    upload("abc");
    contents.markUnused(sha256Hex("abc"), true); // another database did not know it
    clock.Advance(24h * 8);
    cleanUp();
    const auto trace = contents.fileTimesOf(sha256Hex("abc"));
    ASSERT_TRUE(trace);
    EXPECT_FALSE(trace->unusedSinceMs);
}

TEST_F(CleanUp, KeepsContentsOlderThanTheDatabase)
{
    leaveContent("abc");
    setDatabaseBirth(clock.nowMs() + 60 * 1000);
    clock.Advance(1h);
    for (int week = 0; week < 3; ++week) {
        cleanUp();
        clock.Advance(24h * 8);
    }
    EXPECT_THAT(contents.digests(), testing::SizeIs(1));
}

TEST_F(CleanUp, IgnoresADatabaseBirthInTheFuture)
{
    leaveContent("abc");
    setDatabaseBirth(clock.nowMs() + 1000LL * 24 * 3600 * 1000);
    cleanUp();
    clock.Advance(24h * 8);
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
}

TEST_F(CleanUp, RemovesNothingWhileTheClockIsNotTrustedAndCountsIt)
{
    remove(upload("abc").id);
    const store::Upload open = begin("half");
    leaveContent("stray");
    cleanUp(); // starts the week of the content
    addSession(1);
    clock.Advance(24h * 40);
    clockIsTrusted = false;
    cleanUp(1);
    EXPECT_THAT(contents.digests(), testing::SizeIs(2));
    EXPECT_THAT(contents.uploadIds(), testing::ElementsAre(open.id));
    EXPECT_EQ(countSessions(), 1);
    EXPECT_EQ(heldBack.sessions, 1);
    EXPECT_EQ(heldBack.uploads, 2) << "the row of the stray content is one of them";
    EXPECT_EQ(heldBack.binnedFiles, 1);
    clockIsTrusted = true;
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
    EXPECT_EQ(countSessions(), 0);
    EXPECT_EQ(heldBack.sessions + heldBack.uploads + heldBack.binnedFiles, 0);
}

TEST_F(CleanUp, RemovesNothingByItsAgeIfTheClockJumpsAheadAfterItWasChecked)
{
    remove(upload("abc").id);
    leaveContent("stray");
    cleanUp(); // starts the week of the content
    const auto uploads = contents.uploadIds();
    const store::Upload open = begin("half");
    addSession(clock.nowMs() + 1000);
    clock.JumpAhead(24h * 40);
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::SizeIs(2));
    EXPECT_THAT(contents.uploadIds(), testing::SizeIs(uploads.size() + 1));
    EXPECT_EQ(countSessions(), 1);
}

TEST_F(CleanUp, KeepsNothingLongerBecauseTheClockWasAhead)
{
    clock.JumpAhead(24h * 400);
    remove(upload("abc").id);
    begin("half");
    clock.JumpAhead(-24h * 400);
    cleanUp();
    EXPECT_THAT(contents.uploadIds(), testing::SizeIs(1));
    EXPECT_THAT(contents.digests(), testing::SizeIs(1));
    clock.Advance(24h * 30 + 1ms);
    cleanUp();
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
}

TEST_F(CleanUp, RemovesNothingByItsAgeIfTheClockCannotBeChecked)
{
    remove(upload("abc").id);
    clock.Advance(24h * 40);
    Janitor::Parts broken = parts;
    broken.clockIsTrusted = []() -> bool { throw store::StoreBusy(); };
    EXPECT_NO_THROW(Janitor::cleanUp(broken, {}, [] { return false; }));
    EXPECT_THAT(contents.digests(), testing::SizeIs(1));
}

TEST_F(CleanUp, MakesTheDiskReserveWholeAlsoWhileTheClockIsWrong)
{
    DiskReserve used(folder.Path() / "used", 4L * 1024 * 1024);
    used.release();
    clockIsTrusted = false;
    Janitor::cleanUp({database,
                      folderContents,
                      &contents,
                      {},
                      digestLocks,
                      clock,
                      parts.uploadIsHeld,
                      parts.clockIsTrusted,
                      heldBack,
                      used},
                     {0});
    EXPECT_TRUE(used.isWhole());
}

TEST_F(CleanUp, StopsDuringARound)
{
    const store::Upload first = begin("one");
    const store::Upload second = begin("two");
    clock.Advance(24h * 8);
    Janitor::cleanUp(parts, {0}, [] { return true; });
    EXPECT_THAT(contents.uploadIds(), testing::SizeIs(1)) << first.id << ", " << second.id;
}

TEST_F(CleanUp, RemovesContentsWhenTheDatabaseStepFails)
{
    leaveContent("abc");
    cleanUp();
    clock.Advance(24h * 8);
    database.writeNow([](store::Transaction& t) {
        t.sql << "CREATE TRIGGER full BEFORE DELETE ON sessions BEGIN SELECT RAISE(ABORT, 'full');"
                 " END";
    });
    addSession(1);
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
    EXPECT_EQ(countSessions(), 1) << "the trigger did not fail the database step";
}

TEST_F(CleanUp, KeepsALockedContent)
{
    leaveContent("abc");
    cleanUp();
    clock.Advance(24h * 8);
    const auto lock = digestLocks.tryLock(sha256Hex("abc"));
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::SizeIs(1));
}

TEST_F(CleanUp, RemovesOldEvents)
{
    upload("abc");
    const auto pruned = [this] {
        return database.readNow(
            [this](soci::session& sql) { return store::eventBounds(sql, user.farmId()).pruned; });
    };
    clock.Advance(2h);
    cleanUp(3);
    EXPECT_EQ(pruned(), 0);
    cleanUp(1);
    EXPECT_EQ(pruned(), 1);
}

} // namespace
} // namespace kelvo
