// The order in which an upload becomes files, and its state after a failure.
#include "service/api/UploadSteps.h"
#include "service/base/Digest.h"
#include "service/http/Problem.h"
#include "service/store/Errors.h"
#include "service/store/UploadTable.h"
#include "tests/service/support/ApiFixture.h"
#include "tests/service/support/FailingSync.h"
#include "tests/service/support/IdleRequest.h"

#include <gmock/gmock.h>
#include <soci/soci.h>

#include <future>
#include <latch>
#include <thread>

namespace kelvo::api {
namespace {

class FinishUpload : public test::ApiFixture
{
protected:
    /** Returns an upload whose bytes have all been received. */
    store::Upload received(const std::string& name, const std::string& text,
                           std::vector<store::Id> targets)
    {
        UploadRequest wanted;
        wanted.name = name;
        wanted.targets = std::move(targets);
        wanted.lengthBytes = static_cast<long long>(text.size());
        const store::Upload upload =
            loop.run(startUpload(context, user, wanted, newUploadId(), store::EDurability::Now))
                .upload;
        folderContents.receive(upload.id)->append(text.data(), text.size());
        return upload;
    }

    store::Upload finish(const store::Upload& upload)
    {
        const auto receiver = folderContents.receive(upload.id);
        return loop.run(finishUpload(context, upload, *receiver, "192.0.2.1")).upload;
    }

    void setDisabled(bool disabled)
    {
        database.writeNow(
            [this, disabled](store::Transaction& t) { store::setDisabled(t, user.id, disabled); });
    }
};

TEST_F(FinishUpload, MakesAFileForEachTargetAndAnEventForEachFile)
{
    const store::Inbox second = database.writeNow(
        [this](store::Transaction& t) { return store::ensureInbox(t, user, 3, 0).inbox; });
    std::vector<std::string> heard;
    database.onCommit([&heard](const std::vector<store::Event>& events) {
        for (const store::Event& event : events) {
            heard.push_back(event.name);
        }
    });
    const store::Upload done = finish(received("a.zip", "abc", {second.id, inbox.id}));
    ASSERT_EQ(files().size(), 2U);
    EXPECT_EQ(files()[0].inbox, second.id);
    EXPECT_EQ(files()[1].inbox, inbox.id);
    EXPECT_THAT(done.files, testing::ElementsAre(files()[0].id, files()[1].id));
    EXPECT_EQ(done.sha256, sha256Hex("abc"));
    EXPECT_THAT(heard, testing::ElementsAre("file-added", "file-added"));
    EXPECT_THAT(contents.digests(), testing::ElementsAre(sha256Hex("abc")));
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
}

TEST_F(FinishUpload, MakesNoFileIfATargetIsMissing)
{
    store::Upload upload = received("a.zip", "abc", {inbox.id});
    upload.targets.push_back(inbox.id + 1000);
    EXPECT_THROW(finish(upload), http::Problem);
    EXPECT_TRUE(files().empty());
}

TEST_F(FinishUpload, StoresTheContentBeforeTheCommit)
{
    const store::Upload upload = received("a.zip", "abc", {inbox.id});
    // The writer is blocked, so that the upload's own commit cannot happen.
    std::promise<void> unblock;
    std::latch held(1);
    std::thread holder([&] {
        database.writeNow([&](store::Transaction&) {
            held.count_down();
            unblock.get_future().wait();
        });
    });
    held.wait();
    const auto receiver = folderContents.receive(upload.id);
    bool finished = false;
    const auto work = [&]() -> Async<void> {
        const FinishedUpload done = co_await finishUpload(context, upload, *receiver, "192.0.2.1");
        finished = done.upload.finished;
    };
    loop.start(work());
    loop.runUntil([this] { return !contents.digests().empty(); });
    EXPECT_FALSE(finished);
    EXPECT_TRUE(contents.uploadIds().empty());
    EXPECT_TRUE(files().empty());
    unblock.set_value();
    holder.join();
    loop.runUntil([&finished] { return finished; });
    EXPECT_EQ(files().size(), 1U);
}

TEST_F(FinishUpload, StoresEqualContentsOnce)
{
    finish(received("a.zip", "abc", {inbox.id}));
    finish(received("b.zip", "abc", {inbox.id}));
    EXPECT_EQ(files().size(), 2U);
    EXPECT_THAT(contents.digests(), testing::ElementsAre(sha256Hex("abc")));
    EXPECT_THAT(contents.uploadIds(), testing::IsEmpty());
}

TEST_F(FinishUpload, RestoresTheUploadWhenItCannotBeCommitted)
{
    const store::Upload upload = received("a.zip", "abc", {inbox.id});
    setDisabled(true);
    EXPECT_THROW(finish(upload), http::Problem);
    EXPECT_TRUE(files().empty());
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
    EXPECT_EQ(contents.uploadSize(upload.id), 3U);

    setDisabled(false);
    finish(upload);
    EXPECT_EQ(files().size(), 1U);
}

TEST_F(FinishUpload, KeepsTheContentAfterACommitInDoubt)
{
    const store::Upload upload = received("a.zip", "abc", {inbox.id});
    database.writeNow([](store::Transaction& t) {
        t.sql << "CREATE TABLE doom (farm_id BIGINT REFERENCES farms (id)"
                 " DEFERRABLE INITIALLY DEFERRED)";
        // The inserted row makes COMMIT fail.
        t.sql << "CREATE TRIGGER dooms AFTER UPDATE ON uploads BEGIN"
                 " INSERT INTO doom VALUES (-1); END";
    });
    EXPECT_THROW(finish(upload), store::CommitInDoubt);
    EXPECT_THAT(contents.digests(), testing::ElementsAre(sha256Hex("abc")));
    EXPECT_EQ(contents.uploadSize(upload.id), 0U);

    database.writeNow([](store::Transaction& t) { t.sql << "DROP TRIGGER dooms"; });
    const auto receiver = folderContents.receive(upload.id);
    receiver->append("abc", 3);
    EXPECT_TRUE(loop.run(finishUpload(context, upload, *receiver, "192.0.2.1")).upload.finished);
    EXPECT_EQ(files().size(), 1U);
    EXPECT_THAT(contents.digests(), testing::ElementsAre(sha256Hex("abc")));
}

TEST_F(FinishUpload, RestartsAt0WhenTheSyncFails)
{
    const store::Upload upload = received("a.zip", "abc", {inbox.id});
    test::failNextSyncs(1);
    EXPECT_THROW(finish(upload), std::system_error);
    EXPECT_TRUE(files().empty());
    EXPECT_THAT(contents.digests(), testing::IsEmpty());
    EXPECT_EQ(contents.uploadSize(upload.id), 0U) << "bytes that are not on the disk count";

    const auto receiver = folderContents.receive(upload.id);
    receiver->append("abc", 3);
    EXPECT_TRUE(loop.run(finishUpload(context, upload, *receiver, "192.0.2.1")).upload.finished);
    EXPECT_EQ(files().size(), 1U);
}

TEST_F(FinishUpload, SucceedsIfTheUploadCannotBeRemoved)
{
    finish(received("a.zip", "abc", {inbox.id}));
    const store::Upload upload = received("b.zip", "abc", {inbox.id});
    const auto receiver = folderContents.receive(upload.id);
    database.onCommit([this, &upload](const std::vector<store::Event>&) {
        // The upload is replaced by a folder, which cannot be unlinked.
        const auto file = folder.Path() / "uploads" / upload.id;
        std::filesystem::remove(file);
        std::filesystem::create_directory(file);
    });
    EXPECT_TRUE(loop.run(finishUpload(context, upload, *receiver, "192.0.2.1")).upload.finished);
    EXPECT_EQ(files().size(), 2U);
}

TEST_F(FinishUpload, KeepsTheContentOfAnotherFileWhenItFails)
{
    finish(received("a.zip", "abc", {inbox.id}));
    const store::Upload second = received("b.zip", "abc", {inbox.id});
    setDisabled(true);
    EXPECT_THROW(finish(second), http::Problem);
    EXPECT_THAT(contents.digests(), testing::ElementsAre(sha256Hex("abc")));
}

TEST_F(FinishUpload, WarnsOnlyTheOfficeAboutADuplicateName)
{
    finish(received("a.zip", "abc", {inbox.id}));
    EXPECT_TRUE(finish(received("a.zip", "def", {inbox.id})).warnings.empty());
    user = database.writeNow([this](store::Transaction& t) {
        return store::addUser(t, {user.farm, "ofelia", store::ERole::Office, "hash", 0});
    });
    EXPECT_EQ(finish(received("a.zip", "ghi", {inbox.id})).warnings.size(), 1U);
    EXPECT_TRUE(finish(received("b.zip", "ghi", {inbox.id})).warnings.empty());
}

TEST_F(FinishUpload, KeepsAFinishedUploadThatIsDeletedMeanwhile)
{
    const store::Upload upload = received("a.zip", "abc", {inbox.id});
    test::IdleRequest last(loop.io());
    test::IdleRequest deletion(loop.io());
    auto hold = loop.run(activeUploads.take(upload.id, last.body));
    std::optional<http::EProblem> refusal;
    const auto deleteIt = [&]() -> Async<void> {
        try {
            co_await deleteUpload(context, deletion.request, user, upload);
        } catch (const http::Problem& problem) {
            refusal = problem.kind();
        }
    };
    loop.start(deleteIt());
    loop.io().poll();
    const store::Upload done = finish(upload);
    hold.reset();
    loop.runUntil([&refusal] { return refusal.has_value(); });
    EXPECT_EQ(refusal, http::EProblem::Conflict);
    const auto known = database.readNow(
        [&upload](soci::session& sql) { return store::uploadById(sql, upload.id); });
    ASSERT_TRUE(known);
    EXPECT_EQ(known->files, done.files);
}

class InspectUpload : public FinishUpload
{
protected:
    /** The answer to a HEAD, or to a repeated creation without a body. */
    Progress inspect(const store::Upload& upload, decltype(stopAndInspect)* step = stopAndInspect)
    {
        test::IdleRequest idle(loop.io());
        return loop.run(step(context, idle.request, upload));
    }
};

TEST_F(InspectUpload, FinishesAWholeUpload)
{
    for (auto* step : {stopAndInspect, resumeCreation}) {
        for (const std::string text : {"abc", ""}) {
            const Progress progress = inspect(received("a.zip", text, {inbox.id}), step);
            ASSERT_TRUE(progress.upload.finished);
            EXPECT_EQ(progress.offset, static_cast<long long>(text.size()));
            EXPECT_EQ(progress.upload.sha256, sha256Hex(text));
            EXPECT_THAT(progress.upload.files, testing::ElementsAre(files().back().id));
        }
    }
    EXPECT_EQ(files().size(), 4U);
}

TEST_F(InspectUpload, DoesNotTellTheFullOffsetIfItCannotFinish)
{
    const store::Upload upload = received("a.zip", "abc", {inbox.id});
    setDisabled(true);
    for (auto* step : {stopAndInspect, resumeCreation}) {
        EXPECT_THROW(inspect(upload, step), http::Problem);
    }
    setDisabled(false);
    EXPECT_TRUE(inspect(upload).upload.finished);
    EXPECT_EQ(files().size(), 1U);
}

TEST_F(InspectUpload, LeavesAnUploadWithoutAllItsBytesAndAPartialUpload)
{
    const store::Upload missing = begin("a.zip", 4);
    folderContents.receive(missing.id)->append("abc", 3);
    UploadRequest wanted;
    wanted.lengthBytes = 3;
    wanted.concat = "partial";
    const store::Upload partial =
        loop.run(startUpload(context, user, wanted, newUploadId(), store::EDurability::Now)).upload;
    folderContents.receive(partial.id)->append("abc", 3);
    for (const store::Upload& upload : {missing, partial}) {
        const Progress progress = inspect(upload);
        EXPECT_FALSE(progress.upload.finished);
        EXPECT_EQ(progress.offset, 3);
    }
    EXPECT_TRUE(files().empty());
}

class StartUpload : public FinishUpload
{
protected:
    api::StartedUpload begin(const std::string& key, const std::string& name = "a.zip")
    {
        UploadRequest wanted;
        wanted.name = name;
        wanted.targets = {inbox.id};
        wanted.lengthBytes = 0;
        wanted.key = key;
        return loop.run(startUpload(context, user, wanted, newUploadId(), store::EDurability::Now));
    }
};

TEST_F(StartUpload, FindsTheSameUploadWithTheSameKey)
{
    const api::StartedUpload first = begin("nonce");
    const api::StartedUpload second = begin("nonce");
    EXPECT_FALSE(first.isRepeat);
    EXPECT_TRUE(second.isRepeat);
    EXPECT_EQ(second.upload.id, first.upload.id);
    EXPECT_FALSE(begin("").isRepeat);
    EXPECT_FALSE(begin("").isRepeat);
}

TEST_F(StartUpload, RefusesAUsedKeyForAnotherUpload)
{
    begin("nonce");
    EXPECT_THROW(begin("nonce", "b.zip"), http::Problem);
}

TEST_F(StartUpload, AddsANewUploadAfterTheResultWasRemoved)
{
    const api::StartedUpload first = begin("nonce");
    const store::Upload done = finish(first.upload);
    EXPECT_EQ(begin("nonce").upload.files, done.files);
    database.writeNow([&](store::Transaction& t) {
        store::moveToBin(t, user.farmId(), done.files.front(), "olga", clock.nowMs());
    });
    const api::StartedUpload again = begin("nonce");
    EXPECT_FALSE(again.isRepeat);
    EXPECT_NE(again.upload.id, first.upload.id);
}

TEST_F(StartUpload, FindsTheSameUploadAfterAClockJumpAhead)
{
    const api::StartedUpload first = begin("nonce");
    clock.JumpAhead(std::chrono::hours(24 * 40));
    EXPECT_EQ(begin("nonce").upload.id, first.upload.id);
}

TEST_F(StartUpload, AddsANewUploadAfterTheUploadExpired)
{
    const api::StartedUpload first = begin("nonce");
    clock.Advance(std::chrono::hours(24 * 7));
    EXPECT_FALSE(begin("nonce").isRepeat);
    EXPECT_THROW(loop.run(findUpload(context, user, first.upload.id)), http::Problem);
}

} // namespace
} // namespace kelvo::api
