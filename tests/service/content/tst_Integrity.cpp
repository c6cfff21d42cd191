// What is remembered of contents, and how a wrong one is kept from passing for a right one.
#include "service/content/CheckedSource.h"
#include "service/content/Integrity.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <fcntl.h>

namespace kelvo::content {
namespace {

constexpr std::int64_t hourMs = 3600 * 1000;

TEST(ContentIntegrity, IsKnownForAnHourOnce)
{
    Integrity integrity;
    const FileStamp stamp{1, 2, 3, 4, 5};
    EXPECT_EQ(integrity.conditionOf("aa", stamp, 0), ECondition::Unknown);
    integrity.put("aa", stamp, ECondition::Right, 0);
    EXPECT_EQ(integrity.conditionOf("aa", stamp, hourMs - 1), ECondition::Right);
    EXPECT_EQ(integrity.conditionOf("aa", stamp, hourMs), ECondition::Unknown);
    EXPECT_EQ(integrity.conditionOf("bb", stamp, 0), ECondition::Unknown);
}

TEST(ContentIntegrity, IsLostForGoodUntilTheFileIsAnother)
{
    Integrity integrity;
    integrity.put("aa", {1, 2, 3, 4, 5}, ECondition::Damaged, 0);
    EXPECT_EQ(integrity.conditionOf("aa", {1, 2, 3, 4, 5}, 1000 * hourMs), ECondition::Damaged);
    EXPECT_EQ(integrity.conditionOf("aa", {1, 9, 3, 4, 5}, 0), ECondition::Unknown);
    EXPECT_EQ(integrity.conditionOf("aa", {1, 2, 3, 4, 6}, 0), ECondition::Unknown);
}

TEST(ContentIntegrity, NeedsBoundedMemory)
{
    Integrity integrity;
    for (int i = 0; i < 10000; ++i) {
        integrity.put(std::to_string(i), {}, ECondition::Right, 0);
    }
    integrity.put("last", {}, ECondition::Right, 0);
    EXPECT_EQ(integrity.conditionOf("last", {}, 0), ECondition::Right);
    int known = 0;
    for (int i = 0; i < 10000; ++i) {
        known += integrity.conditionOf(std::to_string(i), {}, 0) == ECondition::Right ? 1 : 0;
    }
    EXPECT_EQ(known, 4095);
}

class CheckedReading : public testing::Test
{
protected:
    /** All that the source hands out of this content, four bytes at a time. */
    std::string read(const std::string& stored, const std::string& meant)
    {
        const auto path = folder.path() / "content";
        replaceFile(path, stored, 0600);
        CheckedSource source(openFile(path, O_RDONLY), meant.size(), sha256Hex(meant), pool,
                             [this](ECondition found) { told.push_back(found); });
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

    test::TemporaryFolder folder;
    test::Loop loop;
    WorkPool pool{1};
    std::vector<ECondition> told;
};

TEST_F(CheckedReading, HandsOutWhatIsRight)
{
    EXPECT_EQ(read("0123456789", "0123456789"), "0123456789");
    EXPECT_THAT(told, testing::ElementsAre(ECondition::Right));
}

TEST_F(CheckedReading, KeepsTheEndBackOfWhatIsWrong)
{
    EXPECT_EQ(read("0X23456789", "0123456789"), "0X234567");
    EXPECT_EQ(read("012345678X", "0123456789"), "01234567");
    EXPECT_EQ(read("X", "0"), "");
    EXPECT_THAT(
        told, testing::ElementsAre(ECondition::Damaged, ECondition::Damaged, ECondition::Damaged));
}

TEST_F(CheckedReading, MissesNothingThatIsTooShort)
{
    EXPECT_EQ(read("01234", "0123456789"), "01234");
    EXPECT_THAT(told, testing::ElementsAre(ECondition::Unknown));
}

TEST_F(CheckedReading, TakesAReadErrorForNoDamage)
{
    // A folder can be opened for reading and not be read.
    CheckedSource source(openFile(folder.path(), O_RDONLY), 10, sha256Hex("0123456789"), pool,
                         [this](ECondition found) { told.push_back(found); });
    char buffer[4];
    EXPECT_EQ(loop.run(source.read(asio::buffer(buffer))), 0U);
    EXPECT_THAT(told, testing::ElementsAre(ECondition::Unknown));
}

TEST_F(CheckedReading, DigestsAWholeFile)
{
    replaceFile(folder.path() / "large", std::string(1000000, 'x'), 0600);
    const FileDescriptor file = openFile(folder.path() / "large", O_RDONLY);
    EXPECT_EQ(digestOf(file.get()), sha256Hex(std::string(1000000, 'x')));
    EXPECT_EQ(stampOf(file.get()).sizeBytes, 1000000);
}

} // namespace
} // namespace kelvo::content
