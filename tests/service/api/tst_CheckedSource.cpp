// The source of an answer. It never returns a damaged content as intact.
#include "service/api/CheckedSource.h"
#include "service/base/Digest.h"
#include "service/base/Files.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/support/TempFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <unistd.h>

namespace kelvo::api {
namespace {

/** Reads a file as the contents of a folder do. */
class FileBytes final : public content::Reader
{
public:
    explicit FileBytes(const std::filesystem::path& path) : file_(openFile(path, O_RDONLY)) {}

    std::uint64_t sizeBytes() const override { return 0; }
    std::optional<content::FileStamp> stamp() const override { return std::nullopt; }
    std::size_t read(std::uint64_t offset, void* buffer, std::size_t mostBytes) override
    {
        const ssize_t got = ::pread(file_.get(), buffer, mostBytes, static_cast<off_t>(offset));
        if (got < 0) {
            throwErrno("pread");
        }
        return static_cast<std::size_t>(got);
    }

private:
    FileDescriptor file_;
};

class CheckedReading : public testing::Test
{
protected:
    /** All bytes that the source returns for this content, four bytes at a time. */
    std::string read(const std::string& stored, const std::string& meant)
    {
        const auto path = folder.Path() / "content";
        replaceFile(path, stored, 0600);
        CheckedSource source(std::make_shared<FileBytes>(path), meant.size(), sha256Hex(meant),
                             pool, [this](content::ECondition found) { results.push_back(found); });
        std::string all;
        char buffer[4];
        while (all.size() < meant.size()) {
            const std::size_t got = loop.run(source.read(asio::buffer(buffer)));
            if (got == 0) {
                break;
            }
            all.append(buffer, got);
        }
        return all;
    }

    test::TempFolder folder;
    test::Loop loop;
    WorkPool pool{1};
    std::vector<content::ECondition> results;
};

TEST_F(CheckedReading, ReturnsAnIntactContent)
{
    EXPECT_EQ(read("0123456789", "0123456789"), "0123456789");
    EXPECT_THAT(results, testing::ElementsAre(content::ECondition::Intact));
}

TEST_F(CheckedReading, KeepsBackTheEndOfADamagedContent)
{
    EXPECT_EQ(read("0X23456789", "0123456789"), "0X234567");
    EXPECT_EQ(read("012345678X", "0123456789"), "01234567");
    EXPECT_EQ(read("X", "0"), "");
    EXPECT_THAT(results,
                testing::ElementsAre(content::ECondition::Damaged, content::ECondition::Damaged,
                                     content::ECondition::Damaged));
}

TEST_F(CheckedReading, ReportsAShortContentAsUnknown)
{
    EXPECT_EQ(read("01234", "0123456789"), "01234");
    EXPECT_THAT(results, testing::ElementsAre(content::ECondition::Unreadable));
}

TEST_F(CheckedReading, ReportsAReadErrorAsUnknown)
{
    // A folder can be opened for reading, but not read.
    CheckedSource source(std::make_shared<FileBytes>(folder.Path()), 10, sha256Hex("0123456789"),
                         pool, [this](content::ECondition found) { results.push_back(found); });
    char buffer[4];
    EXPECT_EQ(loop.run(source.read(asio::buffer(buffer))), 0U);
    EXPECT_THAT(results, testing::ElementsAre(content::ECondition::Unreadable));
}

} // namespace
} // namespace kelvo::api
