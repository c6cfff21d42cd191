// The folder of the page, read into memory.
#include "service/base/Files.h"
#include "service/web/WebFiles.h"
#include "tests/service/support/PageFolder.h"

#include <gtest/gtest.h>

namespace kelvo::web {
namespace {

TEST(WebFiles, FindsFilesByTheirExactPaths)
{
    const test::PageFolder page;
    const WebFiles files(page.path());
    ASSERT_NE(files.find("/"), nullptr);
    EXPECT_EQ(files.find("/")->plain, "<p>page");
    EXPECT_FALSE(files.find("/")->isImmutable);
    ASSERT_NE(files.find("/assets/main-1a2b.js"), nullptr);
    EXPECT_TRUE(files.find("/assets/main-1a2b.js")->isImmutable);
    for (const char* path : {"/index.html", "/assets", "/assets/", "//", "/assets/../index.html",
                             "/assets/main-1a2b.js.br", "assets/main-1a2b.js", ""}) {
        EXPECT_EQ(files.find(path), nullptr) << path;
    }
}

TEST(WebFiles, StayAsTheyWereAtTheStart)
{
    const test::PageFolder page;
    const WebFiles files(page.path());
    replaceFile(page.path() / "index.html", "newer", 0600);
    EXPECT_EQ(files.find("/")->plain, "<p>page");
}

TEST(WebFiles, RefuseAFolderThatIsNoPage)
{
    const test::PageFolder page;
    replaceFile(page.path() / "notes.doc", "?", 0600);
    EXPECT_THROW(WebFiles files(page.path()), std::runtime_error);
    std::filesystem::remove(page.path() / "notes.doc");
    std::filesystem::remove(page.path() / "index.html");
    EXPECT_THROW(WebFiles files(page.path()), std::runtime_error);
    EXPECT_THROW(WebFiles files(page.path() / "none"), std::runtime_error);
}

} // namespace
} // namespace kelvo::web
