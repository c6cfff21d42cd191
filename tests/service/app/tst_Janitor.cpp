// What is thrown away, and what is not.
#include "service/Janitor.h"
#include "service/api/UploadSteps.h"
#include "service/base/Digest.h"
#include "service/store/Events.h"
#include "service/store/Uploads.h"
#include "tests/service/support/ApiFixture.h"
#include "tests/service/support/TcpPair.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

namespace kelvo {
namespace {

using namespace std::chrono_literals;

class CleaningUp : public test::ApiFixture
{
protected:
    void cleanUp(int eventHours = 0) { Janitor::cleanUp(context, {eventHours}); }

    store::Upload begin(const std::string& text)
    {
        api::UploadWish wish;
        wish.name = "a.zip";
        wish.targets = {inbox.id};
        wish.lengthBytes = static_cast<long long>(text.size());
        const store::Upload upload =
            loop.run(api::beginUpload(context, user, wish, api::newUploadId())).upload;
        content::UploadWriter writer(contents, digests, upload.id);
        writer.append(text.data(), text.size());
        return upload;
    }

    store::File upload(const std::string& text)
    {
        const store::Upload begun = begin(text);
        content::UploadWriter writer(contents, digests, begun.id);
        loop.run(api::finishUpload(context, begun, writer));
        return files().back();
    }

    void remove(store::Id file)
    {
        database.writeNow([this, file](store::Transaction& t) {
            store::moveToBin(t, user.farmId(), file, "olga", clock.nowMs());
        });
    }
};

TEST_F(CleaningUp, LeavesWhatIsInUse)
{
    upload("abc");
    const store::Upload open = begin("half");
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::ElementsAre(sha256Hex("abc")));
    EXPECT_THAT(contents.uploadIds(), testing::ElementsAre(open.id));
    EXPECT_EQ(files().size(), 1U);
}

TEST_F(CleaningUp, EmptiesTheBinAfterThirtyDaysAndThenItsContents)
{
    const store::File file = upload("abc");
    remove(file.id);
    clock.advance(24h * 30);
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::SizeIs(1)) << "thirty days are not over yet";
    clock.advance(1ms);
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
}

TEST_F(CleaningUp, KeepsAContentThatAnotherFileShares)
{
    remove(upload("abc").id);
    upload("abc");
    clock.advance(24h * 31);
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::ElementsAre(sha256Hex("abc")));
}

TEST_F(CleaningUp, RemovesUploadsThatNobodyContinued)
{
    const store::Upload open = begin("half");
    clock.advance(24h * 7);
    cleanUp();
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
    EXPECT_FALSE(
        database.readNow([&open](soci::session& sql) { return store::uploadById(sql, open.id); }));
}

TEST_F(CleaningUp, LeavesAnUploadThatARequestWorksOn)
{
    const store::Upload open = begin("half");
    test::TcpPair pair(loop.io());
    const http::Limits limits;
    const http::RequestHead head;
    std::string early;
    http::BodyReader body(*pair.server, limits, head, early);
    auto hold = loop.run(activeUploads.take(open.id, body));
    clock.advance(24h * 8);
    cleanUp();
    EXPECT_THAT(contents.uploadIds(), testing::ElementsAre(open.id));
    hold.reset();
    cleanUp();
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
}

TEST_F(CleaningUp, RemovesWhatACrashLeftBehind)
{
    const store::Upload open = begin("abc");
    contents.adopt(open.id, sha256Hex("abc")); // and then the power failed
    replaceFile(folder.path() / "uploads" / "0123456789abcdef", "stray", 0600);
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
}

TEST_F(CleaningUp, MakesRoomAlsoWhenTheDatabaseTakesNothing)
{
    const store::Upload open = begin("abc");
    contents.adopt(open.id, sha256Hex("abc"));
    database.writeNow([](store::Transaction& t) {
        t.sql << "CREATE TRIGGER full BEFORE DELETE ON sessions BEGIN SELECT RAISE(ABORT, 'full');"
                 " END";
        t.sql << "INSERT INTO sessions (token_hash, user_id, created_ms, expires_ms)"
                 " SELECT 'old', MIN(id), 0, 1 FROM users";
    });
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
    const auto kept = database.readNow([](soci::session& sql) {
        int count = 0;
        sql << "SELECT COUNT(*) FROM sessions", soci::into(count);
        return count;
    });
    EXPECT_EQ(kept, 1) << "the step that fails is the one that is meant to";
}

TEST_F(CleaningUp, LeavesAContentThatSomebodyIsAboutToUse)
{
    const store::Upload open = begin("abc");
    contents.adopt(open.id, sha256Hex("abc"));
    const auto lock = digestLocks.tryLock(sha256Hex("abc"));
    cleanUp();
    EXPECT_THAT(contents.digests(), testing::SizeIs(1));
}

TEST_F(CleaningUp, DropsEventsThatAreTooOld)
{
    upload("abc");
    const auto pruned = [this] {
        return database.readNow(
            [this](soci::session& sql) { return store::eventBounds(sql, user.farmId()).pruned; });
    };
    clock.advance(2h);
    cleanUp(3);
    EXPECT_EQ(pruned(), 0);
    cleanUp(1);
    EXPECT_EQ(pruned(), 1);
}

} // namespace
} // namespace kelvo
