// The stored conditions of contents.
#include "service/base/Digest.h"
#include "service/content/Integrity.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <fcntl.h>

namespace kelvo::content {
namespace {

constexpr std::int64_t hourMs = 3600 * 1000;

TEST(ContentIntegrity, RemembersAGoodContentForAnHour)
{
    Integrity integrity;
    const FileStamp stamp{1, 2, 3, 4, 5};
    EXPECT_EQ(integrity.conditionOf("aa", stamp, 0), ECondition::Unknown);
    integrity.put("aa", stamp, ECondition::Intact, 0);
    EXPECT_EQ(integrity.conditionOf("aa", stamp, hourMs - 1), ECondition::Intact);
    EXPECT_EQ(integrity.conditionOf("aa", stamp, hourMs), ECondition::Unknown);
    EXPECT_EQ(integrity.conditionOf("bb", stamp, 0), ECondition::Unknown);
}

TEST(ContentIntegrity, StaysDamagedUntilTheFileIsReplaced)
{
    Integrity integrity;
    integrity.put("aa", {1, 2, 3, 4, 5}, ECondition::Damaged, 0);
    EXPECT_EQ(integrity.conditionOf("aa", {1, 2, 3, 4, 5}, 1000 * hourMs), ECondition::Damaged);
    EXPECT_EQ(integrity.conditionOf("aa", {1, 9, 3, 4, 5}, 0), ECondition::Unknown);
    EXPECT_EQ(integrity.conditionOf("aa", {1, 2, 3, 4, 6}, 0), ECondition::Unknown);
}

TEST(ContentIntegrity, UsesBoundedMemory)
{
    Integrity integrity;
    for (int i = 0; i < 10000; ++i) {
        integrity.put(std::to_string(i), {}, ECondition::Intact, 0);
    }
    integrity.put("last", {}, ECondition::Intact, 0);
    EXPECT_EQ(integrity.conditionOf("last", {}, 0), ECondition::Intact);
    int known = 0;
    for (int i = 0; i < 10000; ++i) {
        known += integrity.conditionOf(std::to_string(i), {}, 0) == ECondition::Intact ? 1 : 0;
    }
    EXPECT_EQ(known, 4095);
}

TEST(ContentIntegrity, DigestsAWholeFile)
{
    const test::TempFolder folder;
    replaceFile(folder.Path() / "large", std::string(1000000, 'x'), 0600);
    const FileDescriptor file = openFile(folder.Path() / "large", O_RDONLY);
    EXPECT_EQ(digestOf(file.get()), sha256Hex(std::string(1000000, 'x')));
    EXPECT_EQ(stampOf(file.get()).sizeBytes, 1000000);
}

} // namespace
} // namespace kelvo::content
