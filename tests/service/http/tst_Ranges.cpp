// The bytes that a Range header asks for, and lists of entity tags.
#include "service/http/Ranges.h"

#include <gtest/gtest.h>

namespace kelvo::http {
namespace {

struct Case
{
    const char* header;
    std::uint64_t size;
    ERange kind;
    std::uint64_t offset;
    std::uint64_t length;
};

class Range : public testing::TestWithParam<Case>
{};

TEST_P(Range, ChoosesTheRangeFromTheHeader)
{
    const Case& wanted = GetParam();
    const RangeChoice choice = chooseRange(wanted.header, wanted.size);
    EXPECT_EQ(choice.kind, wanted.kind);
    if (wanted.kind != ERange::Unsatisfiable) {
        EXPECT_EQ(choice.offset, wanted.offset);
        EXPECT_EQ(choice.length, wanted.length);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Headers, Range,
    testing::Values(
        Case{"", 100, ERange::Whole, 0, 100}, Case{"bytes=0-9", 100, ERange::Part, 0, 10},
        Case{"bytes=0-0", 100, ERange::Part, 0, 1}, Case{"bytes=90-", 100, ERange::Part, 90, 10},
        Case{"bytes=90-500", 100, ERange::Part, 90, 10},
        Case{"bytes=90-99999999999999999999", 100, ERange::Part, 90, 10},
        Case{"bytes=-99999999999999999999", 100, ERange::Part, 0, 100},
        Case{"bytes=99999999999999999999-", 100, ERange::Unsatisfiable, 0, 0},
        Case{"bytes=-10", 100, ERange::Part, 90, 10}, Case{"bytes=-500", 100, ERange::Part, 0, 100},
        Case{"bytes=100-", 100, ERange::Unsatisfiable, 0, 0},
        Case{"bytes=-0", 100, ERange::Unsatisfiable, 0, 0},
        Case{"bytes=0-", 0, ERange::Unsatisfiable, 0, 0},
        Case{"bytes=-5", 0, ERange::Unsatisfiable, 0, 0},
        // Any other text than one valid byte range is ignored.
        Case{"bytes=9-5", 100, ERange::Whole, 0, 100},
        Case{"bytes=a-b", 100, ERange::Whole, 0, 100}, Case{"bytes=-", 100, ERange::Whole, 0, 100},
        Case{"bytes=5", 100, ERange::Whole, 0, 100},
        Case{"bytes=0-1,5-6", 100, ERange::Whole, 0, 100},
        Case{"lines=0-1", 100, ERange::Whole, 0, 100}));

TEST(TagList, MatchesStronglyOrWeakly)
{
    EXPECT_TRUE(tagListMatches("\"a\"", "\"a\"", false));
    EXPECT_TRUE(tagListMatches("\"b\", \"a\"", "\"a\"", false));
    EXPECT_TRUE(tagListMatches("*", "\"a\"", false));
    EXPECT_FALSE(tagListMatches("\"b\"", "\"a\"", false));
    EXPECT_FALSE(tagListMatches("W/\"a\"", "\"a\"", false));
    EXPECT_TRUE(tagListMatches("W/\"a\"", "\"a\"", true));
    EXPECT_FALSE(tagListMatches("", "\"a\"", true));
}

} // namespace
} // namespace kelvo::http
