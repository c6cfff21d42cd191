// Hexadecimal, base64, percent encoding, UTF-8 and numbers.
#include "service/base/Encoding.h"

#include <gtest/gtest.h>

namespace kelvo {
namespace {

TEST(Base64, MatchesTheStandardVectors)
{
    const std::pair<const char*, const char*> vectors[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xFF\xFE\xFD\xFC", "//79/A=="},
    };
    for (const auto& [plain, encoded] : vectors) {
        EXPECT_EQ(toBase64(plain), encoded);
        EXPECT_EQ(fromBase64(encoded), plain);
    }
}

TEST(Base64, AcceptsMissingPaddingAndRefusesWrongText)
{
    EXPECT_EQ(fromBase64("Zg"), "f");
    EXPECT_EQ(fromBase64("Z"), std::nullopt);
    EXPECT_EQ(fromBase64("Zg=a"), std::nullopt);
    EXPECT_EQ(fromBase64("Zg="), std::nullopt);
    EXPECT_EQ(fromBase64("=="), std::nullopt);
    EXPECT_EQ(fromBase64("Zm9v=="), std::nullopt);
    EXPECT_EQ(fromBase64("Zm9v Zm9v"), std::nullopt);
}

TEST(PercentDecoding, DecodesEscapesAndRefusesBrokenOnes)
{
    EXPECT_EQ(percentDecode("From%20Console"), "From Console");
    EXPECT_EQ(percentDecode("a+b"), "a+b");
    EXPECT_EQ(percentDecode("%"), std::nullopt);
    EXPECT_EQ(percentDecode("a%2"), std::nullopt);
    EXPECT_EQ(percentDecode("a%zz"), std::nullopt);
    EXPECT_EQ(percentDecode("%41"), "A");
}

TEST(Utf8, RefusesMalformedSequences)
{
    EXPECT_TRUE(isUtf8("field é 田 \xF0\x9F\x9A\x9C"));
    EXPECT_FALSE(isUtf8("\xC3"));             // cut off
    EXPECT_FALSE(isUtf8("\xC0\xAF"));         // overlong '/'
    EXPECT_FALSE(isUtf8("\xE0\x80\xAF"));     // overlong '/'
    EXPECT_FALSE(isUtf8("\xED\xA0\x80"));     // surrogate
    EXPECT_FALSE(isUtf8("\xF4\x90\x80\x80")); // beyond Unicode
    EXPECT_FALSE(isUtf8("\xFF"));
}

TEST(Numbers, ReadsUnsignedIntegersOnly)
{
    EXPECT_EQ(parseNumber("18446744073709551615"), 18446744073709551615ULL);
    EXPECT_EQ(parseNumber("18446744073709551616"), std::nullopt);
    for (const char* wrong : {"", "-1", "+1", " 1", "1 ", "0x1", "1.0"}) {
        EXPECT_EQ(parseNumber(wrong), std::nullopt) << wrong;
    }
}

TEST(Ids, FitIn32BitsAndAreNotZero)
{
    EXPECT_EQ(parseId("2147483647"), 2147483647);
    EXPECT_EQ(parseId("2147483648"), std::nullopt);
    EXPECT_EQ(parseId("0"), std::nullopt);
}

} // namespace
} // namespace kelvo
