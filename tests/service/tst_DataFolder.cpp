// The data folder of one running service.
#include "service/DataFolder.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/file.h>

namespace kelvo {
namespace {

TEST(DataFolderLock, RefusesASecondInstance)
{
    const test::TempFolder parent;
    {
        const DataFolder first(parent.Path() / "data");
        EXPECT_THROW(DataFolder(parent.Path() / "data"), StartRefused);
    }
    EXPECT_NO_THROW(DataFolder(parent.Path() / "data"));
}

TEST(DataFolderLock, WaitsForAReader)
{
    const test::TempFolder parent;
    FileDescriptor reader = openFile(parent.Path() / "lock", O_RDWR | O_CREAT);
    ASSERT_EQ(::flock(reader.get(), LOCK_SH), 0);
    int waited = 0;
    const DataFolder folder(parent.Path(), [&] {
        ++waited;
        if (waited == 3) {
            reader.reset();
        }
        return true;
    });
    EXPECT_EQ(waited, 3);
}

TEST(DataFolderLock, GivesUpWaitingForAReader)
{
    const test::TempFolder parent;
    const FileDescriptor reader = openFile(parent.Path() / "lock", O_RDWR | O_CREAT);
    ASSERT_EQ(::flock(reader.get(), LOCK_SH), 0);
    int waited = 0;
    try {
        const DataFolder folder(parent.Path(), [&waited] { return ++waited < 3; });
        FAIL() << "the lock was taken";
    } catch (const StartRefused& refused) {
        EXPECT_THAT(refused.what(), testing::HasSubstr("backup"));
    }
    EXPECT_EQ(waited, 3);
}

TEST(DataFolderLock, RefusesAPathThatCannotBeAFolder)
{
    const test::TempFolder parent;
    replaceFile(parent.Path() / "file", "x", 0600);
    EXPECT_THROW(DataFolder(parent.Path() / "file" / "data"), StartRefused);
    EXPECT_THROW(DataFolder(parent.Path() / "file"), StartRefused);
}

TEST(DataFolderEndpoints, WritesTheEndpointsWhileTheServiceRuns)
{
    const test::TempFolder parent;
    const auto file = parent.Path() / "data" / "endpoints.json";
    {
        DataFolder folder(parent.Path() / "data");
        folder.announce("localhost:1", "127.0.0.1:2");
        const auto document = nlohmann::json::parse(readFile(file));
        EXPECT_EQ(document.at("api"), "localhost:1");
        EXPECT_EQ(document.at("metrics"), "127.0.0.1:2");
        EXPECT_GT(document.at("pid").get<int>(), 0);
    }
    EXPECT_FALSE(std::filesystem::exists(file));
}

} // namespace
} // namespace kelvo
