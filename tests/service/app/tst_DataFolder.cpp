// The folder of one running service.
#include "service/DataFolder.h"
#include "tests/service/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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
