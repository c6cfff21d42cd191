// Writing an upload in parts.
#include "service/base/Digest.h"
#include "service/content/UploadWriter.h"
#include "tests/service/support/FailingSync.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include <sys/resource.h>

namespace kelvo::content {
namespace {

class Writing : public testing::Test
{
protected:
    UploadWriter open() { return UploadWriter(store, digests, "u1"); }

    test::TempFolder folder;
    ContentStore store{folder.Path()};
    DigestCache digests;
};

TEST_F(Writing, ContinuesAfterTheLastPart)
{
    {
        UploadWriter first = open();
        EXPECT_EQ(first.offset(), 0U);
        first.append("ab", 2);
        first.suspend();
    }
    UploadWriter second = open();
    EXPECT_EQ(second.offset(), 2U);
    second.append("c", 1);
    EXPECT_EQ(second.finish(), sha256Hex("abc"));
    EXPECT_EQ(readFile(folder.Path() / "uploads" / "u1"), "abc");
}

TEST_F(Writing, DigestsTheFileWhenTheCacheIsEmpty)
{
    const std::string large(700000, 'x'); // more than one read
    {
        UploadWriter first = open();
        first.append(large.data(), large.size());
    }
    UploadWriter second = open();
    EXPECT_EQ(second.offset(), large.size());
    second.append("c", 1);
    EXPECT_EQ(second.finish(), sha256Hex(large + "c"));
}

TEST_F(Writing, PrefersTheFileOverTheCache)
{
    {
        UploadWriter first = open();
        first.append("abcdef", 6);
        first.suspend();
    }
    std::filesystem::resize_file(folder.Path() / "uploads" / "u1", 3);
    UploadWriter second = open();
    EXPECT_EQ(second.offset(), 3U);
    EXPECT_EQ(second.finish(), sha256Hex("abc"));
}

TEST_F(Writing, KeepsTheWrittenBytesOnAFullDisk)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    {
        UploadWriter writer = open();
        writer.append("abc", 3);
        rlimit small = before;
        small.rlim_cur = 5;
        setrlimit(RLIMIT_FSIZE, &small);
        EXPECT_THROW(writer.append("defghi", 6), std::system_error);
        setrlimit(RLIMIT_FSIZE, &before);
    }
    UploadWriter again = open();
    EXPECT_EQ(again.offset(), 5U);
    again.append("fghi", 4);
    EXPECT_EQ(again.finish(), sha256Hex("abcdefghi"));
}

TEST_F(Writing, RestartsAt0AfterAFailedSync)
{
    {
        UploadWriter first = open();
        first.append("abc", 3);
        first.sync();
        first.suspend();
    }
    {
        UploadWriter second = open();
        second.append("def", 3);
        test::failNextSyncs(1);
        EXPECT_THROW(second.sync(), std::system_error);
    }
    EXPECT_EQ(store.uploadSize("u1"), 0U);
    UploadWriter again = open();
    EXPECT_EQ(again.offset(), 0U);
    again.append("xyz", 3);
    again.sync();
    EXPECT_EQ(again.finish(), sha256Hex("xyz"));
}

TEST(RememberedDigests, RemembersABoundedNumberOfDigests)
{
    DigestCache cache;
    for (int i = 0; i < 1000; ++i) {
        cache.put(std::to_string(i), {Sha256(), 1});
    }
    int kept = 0;
    for (int i = 0; i < 1000; ++i) {
        kept += cache.take(std::to_string(i)) ? 1 : 0;
    }
    EXPECT_GT(kept, 0);
    EXPECT_LE(kept, 64);
}

} // namespace
} // namespace kelvo::content
