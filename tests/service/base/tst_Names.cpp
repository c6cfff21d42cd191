// The characters that a name must not have.
#include "service/base/Names.h"

#include <gtest/gtest.h>

namespace kelvo {
namespace {

using namespace std::string_view_literals;

TEST(NamesOfAll, HaveNoControlCharacters)
{
    for (const std::string_view wrong :
         {"a\0b"sv, "\x1F"sv, "\x7F"sv, "a\xC2\x80"sv,
          "\xC2\x9B"
          "31m"sv,
          "\xC2\x9F"sv, "\xE2\x80\xA8"sv, "\xE2\x80\xAA"sv, "gpj\xE2\x80\xAE.exe"sv,
          "\xE2\x81\xA6"sv, "\xE2\x81\xA9"sv}) {
        EXPECT_TRUE(hasControl(wrong)) << wrong;
    }
    for (const std::string_view good :
         {""sv, "h\xC3\xBCgel"sv, "\xC2\xA0"sv, "\xE2\x80\xA7"sv, "\xE2\x80\xAF"sv,
          "\xE2\x81\xA5"sv, "\xF0\x9F\x9A\x9C"sv, "\xE2\x80\x8F"sv, "\xC2"sv}) {
        EXPECT_FALSE(hasControl(good)) << good;
    }
    EXPECT_EQ(controlBytes("a\xC2\x85", 1), 2U);
    EXPECT_EQ(controlBytes("\xE2\x80\xAE", 0), 3U);
    EXPECT_EQ(controlBytes("\x1B", 0), 1U);
}

TEST(NamesOfAll, LoseTheBlanksAtTheirEnds)
{
    EXPECT_EQ(withoutBlanks("  Hill Farm "), "Hill Farm");
    EXPECT_EQ(withoutBlanks("\xC2\xA0\xE3\x80\x80olga\xE2\x80\x83 \xE1\x9A\x80"), "olga");
    EXPECT_EQ(withoutBlanks(" \xC2\xA0"), "");
    EXPECT_EQ(withoutBlanks("a"), "a");
    EXPECT_EQ(withoutBlanks("\xC3\xA0"), "\xC3\xA0");
}

} // namespace
} // namespace kelvo
