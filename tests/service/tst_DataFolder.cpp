// The folder of one running service.
#include "service/DataFolder.h"
#include "tests/service/support/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <sys/file.h>

namespace kelvo {
namespace {

TEST(DataFolderLock, KeepsASecondInstanceOut)
{
    const test::TemporaryFolder parent;
    {
        const DataFolder first(parent.path() / "data");
        EXPECT_THROW(DataFolder(parent.path() / "data"), StartRefused);
    }
    EXPECT_NO_THROW(DataFolder(parent.path() / "data"));
}

TEST(DataFolderLock, WaitsForWhoeverOnlyReads)
{
    const test::TemporaryFolder parent;
    FileDescriptor reader = openFile(parent.path() / "lock", O_RDWR | O_CREAT);
    ASSERT_EQ(::flock(reader.get(), LOCK_SH), 0);
    int waited = 0;
    const DataFolder folder(parent.path(), [&] {
        ++waited;
        if (waited == 3) {
            reader.reset();
        }
        return true;
    });
    EXPECT_EQ(waited, 3);
}

TEST(DataFolderLock, WaitsForThemNotForEver)
{
    const test::TemporaryFolder parent;
    const FileDescriptor reader = openFile(parent.path() / "lock", O_RDWR | O_CREAT);
    ASSERT_EQ(::flock(reader.get(), LOCK_SH), 0);
    int waited = 0;
    try {
        const DataFolder folder(parent.path(), [&waited] { return ++waited < 3; });
        FAIL() << "it has the lock";
    } catch (const StartRefused& refused) {
        EXPECT_THAT(refused.what(), testing::HasSubstr("backup"));
    }
    EXPECT_EQ(waited, 3);
}

TEST(DataFolderLock, RefusesAFolderThatCannotBe)
{
    const test::TemporaryFolder parent;
    replaceFile(parent.path() / "file", "x", 0600);
    EXPECT_THROW(DataFolder(parent.path() / "file" / "data"), StartRefused);
    EXPECT_THROW(DataFolder(parent.path() / "file"), StartRefused);
}

TEST(DataFolderEndpoints, StandThereWhileTheServiceRuns)
{
    const test::TemporaryFolder parent;
    const auto file = parent.path() / "data" / "endpoints.json";
    {
        DataFolder folder(parent.path() / "data");
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
