// The files of uploads and contents.
#include "service/base/Digest.h"
#include "service/content/ContentStore.h"
#include "service/content/DigestLocks.h"
#include "service/content/Integrity.h"
#include "service/content/UploadWriter.h"
#include "tests/service/support/FailingSync.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/support/FileDates.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>

namespace kelvo::content {
namespace {

class Contents : public testing::Test
{
protected:
    /** Receives an upload and returns its digest. */
    std::string receive(const std::string& id, const std::string& text)
    {
        UploadWriter writer(store, digests, id);
        writer.append(text.data(), text.size());
        writer.sync();
        return writer.finish();
    }

    std::string textOf(const std::string& sha256)
    {
        return readFile(folder.Path() / "content" / sha256.substr(0, 2) / sha256);
    }

    test::TempFolder folder;
    ContentStore store{folder.Path()};
    DigestCache digests;
};

TEST_F(Contents, HaveTheirDigestAsName)
{
    const std::string digest = receive("u1", "abc");
    EXPECT_EQ(digest, sha256Hex("abc"));
    EXPECT_THAT(store.uploadIds(), testing::ElementsAre("u1"));
    EXPECT_TRUE(store.adopt("u1", digest));
    EXPECT_THAT(store.uploadIds(), testing::IsEmpty());
    EXPECT_THAT(store.digests(), testing::ElementsAre(digest));
    EXPECT_EQ(textOf(digest), "abc");
}

TEST_F(Contents, StoresEqualContentsOnce)
{
    const std::string digest = receive("u1", "abc");
    store.adopt("u1", digest);
    receive("u2", "abc");
    EXPECT_FALSE(store.adopt("u2", digest));
    EXPECT_THAT(store.uploadIds(), testing::ElementsAre("u2"))
        << "removed before its files are committed";
    EXPECT_THAT(store.digests(), testing::ElementsAre(digest));
}

TEST_F(Contents, MayBeDatedAfter2038)
{
    const std::string digest = receive("u1", "abc");
    ASSERT_TRUE(test::SetFileDate(folder.Path() / "uploads" / "u1", test::farFutureS));
    EXPECT_EQ(store.uploadSize("u1"), 3U);
    EXPECT_TRUE(store.uploadChangedMs("u1"));
    EXPECT_TRUE(store.adopt("u1", digest));
    const auto trace = store.fileTimesOf(digest);
    ASSERT_TRUE(trace);
    EXPECT_EQ(trace->writtenMs, test::farFutureS * 1000);
    EXPECT_NO_THROW(stampOf(store.open(digest).get()));
}

TEST_F(Contents, AnEqualUploadRepairsAContent)
{
    const std::string digest = receive("u1", "abc");
    store.adopt("u1", digest);
    replaceFile(store.contentPath(digest), "aXc", 0600);
    receive("u2", "abc");
    EXPECT_FALSE(store.adopt("u2", digest));
    EXPECT_EQ(textOf(digest), "abc");
    EXPECT_EQ(store.uploadSize("u2"), 3U) << "removed before its files are committed";
    EXPECT_FALSE(store.adopt("u2", digest)) << "a second attempt after a failed commit";
    store.removeUpload("u2");
    EXPECT_EQ(textOf(digest), "abc");
    EXPECT_THAT(store.digests(), testing::ElementsAre(digest));
}

TEST_F(Contents, KeepsTheContentWhenItsUploadFails)
{
    const std::string digest = receive("u1", "abc");
    store.adopt("u1", digest);
    receive("u2", "abc");
    EXPECT_FALSE(store.adopt("u2", digest)); // now the content is a second name of u2's file
    store.discardUpload("u2");               // a commit failed, and then a sync
    EXPECT_EQ(store.uploadSize("u2"), 0U);
    EXPECT_EQ(textOf(digest), "abc");
}

TEST_F(Contents, LoseTheLinksThatAKilledProcessLeft)
{
    const std::string digest = receive("u1", "abc");
    store.adopt("u1", digest);
    const auto left = store.contentPath(digest).string() + ".new";
    replaceFile(left, "abc", 0600);
    EXPECT_THAT(store.digests(), testing::ElementsAre(digest));
    EXPECT_TRUE(std::filesystem::exists(left)) << "another request may be using it";
    const ContentStore again(folder.Path());
    EXPECT_FALSE(std::filesystem::exists(left));
    EXPECT_EQ(textOf(digest), "abc");
}

TEST_F(Contents, BecomeTheirUploadAgain)
{
    const std::string digest = receive("u1", "abc");
    store.adopt("u1", digest);
    store.revertToUpload("u1", digest);
    EXPECT_THAT(store.digests(), testing::IsEmpty());
    EXPECT_EQ(store.uploadSize("u1"), 3U);
}

TEST_F(Contents, RemovesAContentIfItsNameCannotBeSynced)
{
    const std::string digest = receive("u1", "abc");
    test::failNextSyncs(1);
    EXPECT_THROW(store.adopt("u1", digest), std::system_error);
    EXPECT_THAT(store.digests(), testing::IsEmpty());
    EXPECT_EQ(store.uploadSize("u1"), 0U);
    receive("u1", "abc");
    EXPECT_TRUE(store.adopt("u1", digest));
    EXPECT_EQ(textOf(digest), "abc");
}

// The disk reports the error of a folder's sync once.
TEST_F(Contents, LoseNewFoldersThatCannotBeSynced)
{
    const auto contents = folder.Path() / "content";
    std::filesystem::remove_all(contents);
    test::failNextSyncs(1);
    EXPECT_THROW(ContentStore{folder.Path()}, std::system_error);
    EXPECT_FALSE(std::filesystem::exists(contents));
    EXPECT_NO_THROW(ContentStore{folder.Path()});
    EXPECT_TRUE(std::filesystem::exists(contents / "00"));
    EXPECT_TRUE(std::filesystem::exists(contents / "ff"));
}

TEST_F(Contents, KeepsTheContentWhenTheSyncOfAnEqualUploadFails)
{
    const std::string digest = receive("u1", "abc");
    store.adopt("u1", digest);
    receive("u2", "abc");
    test::failNextSyncs(1);
    EXPECT_THROW(store.adopt("u2", digest), std::system_error);
    EXPECT_EQ(textOf(digest), "abc");
    EXPECT_FALSE(store.adopt("u2", digest));
}

TEST_F(Contents, MayBeRemovedTwice)
{
    const std::string digest = receive("u1", "abc");
    store.adopt("u1", digest);
    store.remove(digest);
    EXPECT_NO_THROW(store.remove(digest));
    EXPECT_NO_THROW(store.removeUpload("u1"));
    EXPECT_THAT(store.digests(), testing::IsEmpty());
}

TEST_F(Contents, NameNoPathWhenTheyAreMissing)
{
    try {
        store.open(sha256Hex("never stored"));
        FAIL() << "it was opened";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
        EXPECT_THAT(error.what(), testing::Not(testing::HasSubstr("/")));
    }
}

TEST(DigestLock, HasOneHolderAtATime)
{
    test::Loop loop;
    DigestLocks locks;
    auto first = locks.tryLock("aa");
    ASSERT_TRUE(first);
    EXPECT_FALSE(locks.tryLock("aa"));
    EXPECT_TRUE(locks.tryLock("bb"));

    bool entered = false;
    const auto enter = [&locks, &entered]() -> Async<void> {
        const auto second = co_await locks.lock("aa");
        entered = second != nullptr;
    };
    loop.start(enter());
    loop.io().poll();
    EXPECT_FALSE(entered);
    first.reset();
    loop.runUntil([&entered] { return entered; });
    EXPECT_TRUE(locks.tryLock("aa")) << "the lock was not released";
}

} // namespace
} // namespace kelvo::content
