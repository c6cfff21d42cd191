// Part files on folders and names that do not take them.
#include "transfer/PartFile.h"

#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

namespace kesdk::impl {

namespace {

constexpr std::int64_t kSizeBytes = std::int64_t{128} * 1024;

class PartFiles : public testing::Test
{
protected:
    // Writes the first half of a large file, and keeps the part file.
    void LeaveHalf()
    {
        PartFile first;
        ASSERT_FALSE(first.Open(path, origin, nullptr).IsSet());
        const std::string half(kSizeBytes / 2, 'a');
        ASSERT_TRUE(first.Write(half.data(), half.size()));
        first.Keep();
        ASSERT_TRUE(std::filesystem::exists(partPath));
    }

    kelvo::test::TempFolder folder;
    const std::string path = folder.Path("map.zip");
    const std::string partPath = path + ".part";
    const PartOrigin origin{"account", 7, "\"etag\"", kSizeBytes, "digest"};
    PartFile part;
};

} // namespace

TEST_F(PartFiles, ResumesAKeptPartFile)
{
    LeaveHalf();
    EXPECT_FALSE(part.Open(path, origin, nullptr).IsSet());
    EXPECT_TRUE(part.IsResumed());
    EXPECT_EQ(part.SizeBytes(), kSizeBytes / 2);
}

TEST_F(PartFiles, BeginsAnewIfTheKeptPartFileIsGone)
{
    LeaveHalf();
    std::filesystem::remove(partPath);
    EXPECT_FALSE(part.Open(path, origin, nullptr).IsSet());
    EXPECT_FALSE(part.IsResumed());
    EXPECT_EQ(part.SizeBytes(), 0);
}

TEST_F(PartFiles, BeginsAnewIfTheKeptPartFileIsALink)
{
    LeaveHalf();
    std::filesystem::rename(partPath, folder.Path("elsewhere"));
    std::filesystem::create_symlink(folder.Path("elsewhere"), partPath);
    EXPECT_FALSE(part.Open(path, origin, nullptr).IsSet());
    EXPECT_FALSE(part.IsResumed());
    EXPECT_EQ(std::filesystem::file_size(folder.Path("elsewhere")), kSizeBytes / 2);
}

TEST_F(PartFiles, BeginsAnewIfTheKeptPartFileIsLongerThanTheFile)
{
    LeaveHalf();
    std::filesystem::resize_file(partPath, kSizeBytes + 1);
    EXPECT_FALSE(part.Open(path, origin, nullptr).IsSet());
    EXPECT_FALSE(part.IsResumed());
}

TEST_F(PartFiles, KeepsThePartFileWhenResumingIsAborted)
{
    LeaveHalf();
    EXPECT_EQ(part.Open(path, origin, [] { return true; }).code, EErrorCode::eAborted);
    EXPECT_EQ(std::filesystem::file_size(partPath), kSizeBytes / 2);
}

TEST_F(PartFiles, RefusesNamesThatNoFileCanHave)
{
    for (const std::string& name : {std::string(), std::string("."), std::string("..")})
        EXPECT_EQ(part.Open(folder.Path().string() + '/' + name, origin, nullptr).code,
                  EErrorCode::eUnusableFileName)
            << name;
}

TEST_F(PartFiles, ReportsAFolderThatIsGone)
{
    EXPECT_EQ(part.Open(folder.Path("gone/map.zip"), origin, nullptr).code,
              EErrorCode::eCannotWrite);
}

TEST_F(PartFiles, ReportsAFinalNameThatAFolderTook)
{
    ASSERT_FALSE(part.Open(path, origin, nullptr).IsSet());
    std::filesystem::create_directory(path);
    EXPECT_EQ(part.Commit().code, EErrorCode::eCannotWrite);
    EXPECT_TRUE(std::filesystem::is_directory(path));
}

} // namespace kesdk::impl
