// The disk space that only the database and the account commands may use.
#include "service/base/DiskReserve.h"
#include "service/base/FileStatus.h"
#include "service/base/Files.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <system_error>

#include <sys/stat.h>

namespace kelvo {
namespace {

constexpr long long mib = 1024LL * 1024;

class Reserve : public testing::Test
{
protected:
    long long allocatedBytes() const
    {
        struct stat status
        {};
        EXPECT_EQ(::stat(file.c_str(), &status), 0);
        return static_cast<long long>(status.st_blocks) * 512;
    }

    template <class F>
    static int codeOf(F work)
    {
        try {
            work();
        } catch (const std::system_error& error) {
            return error.code().value();
        }
        return 0;
    }

    test::TempFolder folder;
    const std::filesystem::path file = folder.Path() / "reserve";
};

TEST_F(Reserve, AllocatesItsBlocks)
{
    const DiskReserve reserve(file, 3 * mib);
    EXPECT_TRUE(reserve.isWhole());
    EXPECT_EQ(reserve.heldBytes(), 3 * mib);
    EXPECT_GE(allocatedBytes(), 3 * mib);
}

TEST_F(Reserve, FillsTheHolesOfACopiedFile)
{
    replaceFile(file, "", 0600);
    std::filesystem::resize_file(file, 3 * mib);
    EXPECT_LT(allocatedBytes(), mib);
    const DiskReserve reserve(file, 3 * mib);
    EXPECT_GE(allocatedBytes(), 3 * mib);
}

TEST_F(Reserve, ShrinksToASmallerSize)
{
    {
        const DiskReserve large(file, 3 * mib);
    }
    const DiskReserve small(file, mib);
    EXPECT_TRUE(small.isWhole());
    EXPECT_EQ(statusOf(file)->sizeBytes, mib);
}

TEST_F(Reserve, RefusesUploadsFromTheFirstReleaseAndReportsBelowAHalf)
{
    DiskReserve reserve(file, 4 * mib);
    EXPECT_EQ(codeOf([&] { reserve.requireWhole(); }), 0);
    EXPECT_TRUE(reserve.release());
    EXPECT_EQ(statusOf(file)->sizeBytes, 3 * mib);
    EXPECT_EQ(codeOf([&] { reserve.requireWhole(); }), ENOSPC);
    EXPECT_TRUE(reserve.release());
    EXPECT_TRUE(reserve.isHalfWhole());
    EXPECT_TRUE(reserve.release());
    EXPECT_FALSE(reserve.isHalfWhole());
    EXPECT_TRUE(reserve.release());
    EXPECT_FALSE(reserve.release());
}

TEST_F(Reserve, FillsTheReserveAgainWhenTheDiskHasRoom)
{
    DiskReserve reserve(file, 4 * mib);
    reserve.release();
    reserve.release();
    reserve.requireRoom(1);
    EXPECT_TRUE(reserve.isWhole());
    EXPECT_GE(allocatedBytes(), 4 * mib);
}

TEST_F(Reserve, RefusesMoreBytesThanTheDiskHas)
{
    DiskReserve reserve(file, 0);
    EXPECT_EQ(codeOf([&] { reserve.requireRoom(1LL << 62); }), ENOSPC);
    EXPECT_EQ(codeOf([&] { reserve.requireRoom(1); }), 0);
}

} // namespace
} // namespace kelvo
