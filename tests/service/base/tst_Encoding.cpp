// Hexadecimal, base64, percent encoding, UTF-8 and numbers.
#include "service/base/Encoding.h"
#include "service/base/Time.h"

#include <gtest/gtest.h>

namespace kelvo {
namespace {

TEST(Base64, KnowsTheStandardVectors)
{
    const std::pair<const char*, const char*> vectors[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [plain, encoded] : vectors) {
        EXPECT_EQ(toBase64(plain), encoded);
        EXPECT_EQ(fromBase64(encoded), plain);
    }
}

TEST(Base64, TakesMissingPaddingAndRefusesNonsense)
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

TEST(Utf8, TellsGoodFromBad)
{
    EXPECT_TRUE(isUtf8("field é 田 \xF0\x9F\x9A\x9C"));
    EXPECT_FALSE(isUtf8("\xC3"));             // cut off
    EXPECT_FALSE(isUtf8("\xC0\xAF"));         // overlong '/'
    EXPECT_FALSE(isUtf8("\xE0\x80\xAF"));     // overlong '/'
    EXPECT_FALSE(isUtf8("\xED\xA0\x80"));     // surrogate
    EXPECT_FALSE(isUtf8("\xF4\x90\x80\x80")); // beyond Unicode
    EXPECT_FALSE(isUtf8("\xFF"));
}

TEST(Numbers, AreWholeAndUnsigned)
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

TEST(Times, AreWrittenForJsonAndForHeaders)
{
    EXPECT_EQ(rfc3339(1700000000007), "2023-11-14T22:13:20.007Z");
    EXPECT_EQ(httpDate(1700000000007), "Tue, 14 Nov 2023 22:13:20 GMT");
}

TEST(Times, AreReadAsTheyAreWritten)
{
    EXPECT_EQ(parseRfc3339("2023-11-14T22:13:20.007Z"), 1700000000007);
    EXPECT_EQ(parseRfc3339("2023-11-14T22:13:20Z"), 1700000000000);
    EXPECT_EQ(parseRfc3339("2023-11-14T22:13:20.5Z"), 1700000000500);
    EXPECT_EQ(parseRfc3339("2023-11-14T22:13:20.123456789123Z"), 1700000000123);
    for (const char* wrong :
         {"", "Z", "2023-11-14", "2023-11-14T22:13:20", "2023-11-14 22:13:20Z",
          "2023-11-14T22:13:20+01:00", "2023-02-30T00:00:00Z", "2023-11-14T22:13:20.Z",
          "2023-11-14T22:13:20.-1Z", "2023-11-14T22:13:20,5Z", " 2023-1-14T22:13:20Z",
          "2023-11-14T22:13:2 Z", "1950-01-01T00:00:00Z", "99999-01-01T00:00:00Z"}) {
        EXPECT_EQ(parseRfc3339(wrong), std::nullopt) << wrong;
    }
}

} // namespace
} // namespace kelvo
