// What goes into URLs and headers, and what may become a path or reach a terminal.
#include "service/kelvoctl/Encoding.h"

#include "service/kelvoctl/Sha256.h"

#include <gtest/gtest.h>

using namespace kelvoctl;

TEST(Encoding, PercentEncodesEverythingThatCouldEndASegment)
{
    EXPECT_EQ(percentEncoded("To Console"), "To%20Console");
    EXPECT_EQ(percentEncoded("a/b?c#d%e"), "a%2Fb%3Fc%23d%25e");
    EXPECT_EQ(percentEncoded("\xC3\xA9-._~9Z"), "%C3%A9-._~9Z");
}

TEST(Encoding, Base64PadsEachRemainder)
{
    EXPECT_EQ(base64(""), "");
    EXPECT_EQ(base64("f"), "Zg==");
    EXPECT_EQ(base64("fo"), "Zm8=");
    EXPECT_EQ(base64("foo"), "Zm9v");
    EXPECT_EQ(base64("\xFF\xFE\xFD\xFC"), "//79/A==");
}

TEST(Encoding, RefusesNamesThatArePathsOrHideSomething)
{
    using namespace std::string_view_literals;
    for (const std::string_view name :
         {""sv, "."sv, ".."sv, "a/b"sv, "/etc"sv, "a\0b"sv, "a\nb"sv, "\x7F"sv, "\x1B[2J"sv}) {
        EXPECT_FALSE(isSafeFileName(name)) << printable(name);
    }
}

TEST(Encoding, TakesOrdinaryNames)
{
    for (const char* name :
         {"field.zip", "...", ".hidden", "a b", "h\xC3\xBCgel.zip", "back\\slash"}) {
        EXPECT_TRUE(isSafeFileName(name)) << name;
    }
}

TEST(Encoding, PrintsNoControlCharacters)
{
    EXPECT_EQ(printable("a\x1B[31mb\r\n\x7F"), "a?[31mb???");
    EXPECT_EQ(printable("h\xC3\xBCgel"), "h\xC3\xBCgel");
}

TEST(Sha256, SpellsTheDigestBothWays)
{
    Sha256 sha256;
    sha256.add("a");
    sha256.add("bc");
    const std::string digest = sha256.digest();
    EXPECT_EQ(hexDigest(digest),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(digestHeader(digest), "sha-256=:ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=:");
}
