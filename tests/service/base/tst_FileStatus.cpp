// The status of files, including files with dates after 2038.
#include "service/base/FileStatus.h"
#include "service/base/Files.h"
#include "tests/support/FileDates.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kelvo {
namespace {

constexpr std::int64_t nsPerS = 1000000000;

class StatusOfAFile : public testing::Test
{
protected:
    StatusOfAFile() { replaceFile(file, "hello", 0640); }

    test::TempFolder folder;
    const std::filesystem::path file = folder.Path() / "file";
};

TEST_F(StatusOfAFile, HasKindModeSizeAndOwner)
{
    const auto status = statusOf(file);
    ASSERT_TRUE(status);
    EXPECT_TRUE(S_ISREG(status->mode));
    EXPECT_EQ(status->mode & 07777, 0640U);
    EXPECT_EQ(status->sizeBytes, 5);
    EXPECT_EQ(status->links, 1U);
    EXPECT_EQ(status->user, ::geteuid());
    EXPECT_TRUE(S_ISDIR(statusOf(folder.Path())->mode));
}

TEST_F(StatusOfAFile, HasSizesOfMoreThan32Bits)
{
    constexpr std::int64_t bytes = 5368709120; // a hole, of 5 GiB
    std::filesystem::resize_file(file, static_cast<std::uintmax_t>(bytes));
    EXPECT_EQ(statusOf(file)->sizeBytes, bytes);
}

TEST_F(StatusOfAFile, HasDatesOfMoreThan32Bits)
{
    for (const std::int64_t seconds : {std::int64_t{2147483647}, std::int64_t{2147483648},
                                       test::farFutureS, std::int64_t{4294967296}}) {
        ASSERT_TRUE(test::SetFileDate(file, seconds));
        const auto status = statusOf(file);
        ASSERT_TRUE(status) << seconds;
        EXPECT_EQ(status->modifiedNs, seconds * nsPerS);
        EXPECT_EQ(status->sizeBytes, 5);
    }
}

TEST_F(StatusOfAFile, TheDescriptorHasTheSameStatus)
{
    ASSERT_TRUE(test::SetFileDate(file, test::farFutureS));
    const FileStatus status = statusOf(openFile(file, O_RDONLY).get());
    EXPECT_EQ(status.modifiedNs, test::farFutureS * nsPerS);
    EXPECT_EQ(status.node, statusOf(file)->node);
    EXPECT_EQ(status.device, statusOf(file)->device);
}

TEST_F(StatusOfAFile, AMissingFileHasNoStatus)
{
    EXPECT_EQ(statusOf(folder.Path() / "none").has_value(), false);
}

TEST_F(StatusOfAFile, ThrowsIfTheFileCannotBeRead)
{
    EXPECT_THROW(statusOf(file / "below"), std::system_error);
    EXPECT_THROW(statusOf(-1), std::system_error);
}

} // namespace
} // namespace kelvo
