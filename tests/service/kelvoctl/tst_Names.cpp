// Texts for URLs and headers, and the names that may become a path or reach a terminal.
#include "service/kelvoctl/Names.h"

#include <gtest/gtest.h>

using namespace kelvoctl;

TEST(Names, PercentEncodesReservedCharacters)
{
    EXPECT_EQ(percentEncoded("To Console"), "To%20Console");
    EXPECT_EQ(percentEncoded("a/b?c#d%e"), "a%2Fb%3Fc%23d%25e");
    EXPECT_EQ(percentEncoded("\xC3\xA9-._~9Z"), "%C3%A9-._~9Z");
}

TEST(Names, RefusesNamesWithPathsOrControlCharacters)
{
    using namespace std::string_view_literals;
    for (const std::string_view name : {""sv, "."sv, ".."sv, "a/b"sv, "/etc"sv, "a\0b"sv, "a\nb"sv,
                                        "\x7F"sv, "\x1B[2J"sv, "a\xC2\x9B"sv, "\xE2\x80\xAE"sv}) {
        EXPECT_FALSE(isSafeFileName(name)) << printable(name);
    }
}

TEST(Names, AcceptsOrdinaryNames)
{
    for (const char* name :
         {"field.zip", "...", ".hidden", "a b", "h\xC3\xBCgel.zip", "back\\slash"}) {
        EXPECT_TRUE(isSafeFileName(name)) << name;
    }
}

TEST(Names, PrintsNoControlCharacters)
{
    EXPECT_EQ(printable("a\x1B[31mb\r\n\x7F"), "a?[31mb???");
    EXPECT_EQ(printable("h\xC3\xBCgel"), "h\xC3\xBCgel");
    EXPECT_EQ(printable("a\xC2\x9B"
                        "31m\xE2\x80\xAE"
                        "b"),
              "a?31m?b");
    EXPECT_EQ(printable("a\x9B"
                        "b"),
              "a?b");
}

TEST(Names, EscapesControlCharactersInJson)
{
    EXPECT_EQ(escapedJson("{\"a\":\"\x7F\xC2\x9B\xE2\x80\xAE\xC3\xBC\"}"),
              "{\"a\":\"\\u007f\\u009b\\u202e\xC3\xBC\"}");
}
