// A file as the body of requests: sent once, with a digest of the whole file after any jump.
#include "service/kelvoctl/UploadSource.h"

#include "service/base/Digest.h"
#include "service/kelvoctl/Failures.h"
#include "tests/support/FileDates.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <array>

using namespace kelvoctl;

namespace {

std::string pattern(std::size_t size)
{
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        text += static_cast<char>(i * 131 % 251);
    }
    return text;
}

std::string readAll(UploadSource& source)
{
    std::string all;
    std::array<char, 1000> buffer{};
    while (const std::size_t count = source.read(buffer.data(), buffer.size())) {
        all.append(buffer.data(), count);
    }
    return all;
}

std::string digestOf(const std::string& content)
{
    return kelvo::sha256Hex(content);
}

} // namespace

TEST(UploadSource, ReadsAFileDatedAfter2038)
{
    const kelvo::test::TempFolder folder;
    const auto file = folder.Write("a", "hello");
    ASSERT_TRUE(kelvo::test::SetFileDate(file, kelvo::test::farFutureS));
    UploadSource source(file);
    EXPECT_EQ(source.sizeBytes(), 5U);
    EXPECT_EQ(readAll(source), "hello");
}

TEST(UploadSource, SendsTheWholeFileAndDigestsIt)
{
    const kelvo::test::TempFolder folder;
    const std::string content = pattern(12345);
    UploadSource source(folder.Write("a", content));
    EXPECT_EQ(source.sizeBytes(), content.size());
    EXPECT_EQ(readAll(source), content);
    EXPECT_EQ(source.digest(), digestOf(content));
}

TEST(UploadSource, DigestsTheWholeFileAfterJumpsBothWays)
{
    const kelvo::test::TempFolder folder;
    const std::string content = pattern(9000);
    for (const std::size_t offset :
         {std::size_t{0}, std::size_t{1}, std::size_t{5000}, content.size()}) {
        UploadSource source(folder.Write("a", content));
        std::array<char, 3000> sent{};
        source.read(sent.data(), sent.size());
        source.startAt(offset);
        EXPECT_EQ(source.sizeBytes(), content.size() - offset);
        EXPECT_EQ(readAll(source), content.substr(offset));
        EXPECT_EQ(source.digest(), digestOf(content)) << offset;
    }
}

TEST(UploadSource, IgnoresAppendedBytesAndRefusesAShortenedFile)
{
    const kelvo::test::TempFolder folder;
    const std::string content = pattern(4000);
    const auto path = folder.Write("a", content);
    UploadSource source(path);
    folder.Write("a", content + "more");
    EXPECT_EQ(readAll(source), content);
    std::filesystem::resize_file(path, 100);
    source.startAt(0);
    EXPECT_THROW(readAll(source), LocalFailure);
}

TEST(UploadSource, RefusesFoldersAndMissingFiles)
{
    const kelvo::test::TempFolder folder;
    EXPECT_THROW(UploadSource{folder.Path()}, UsageError);
    EXPECT_THROW(UploadSource(folder.Path() / "none"), UsageError);
}
