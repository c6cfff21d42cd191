// Text between wide strings, UTF-8, HTML and paths.
#include "base/Text.h"

#include <gtest/gtest.h>

namespace kesdk::impl {

TEST(Text, ConvertsToUtf8AndBack)
{
    const std::wstring text = L"Fält 7 – 東 \U0001F33E";
    EXPECT_EQ(ToUtf8(text), "F\xC3\xA4lt 7 \xE2\x80\x93 \xE6\x9D\xB1 \xF0\x9F\x8C\xBE");
    EXPECT_EQ(ToWide(ToUtf8(text)), text);
}

TEST(Text, ReplacesInvalidCodePoints)
{
    EXPECT_EQ(ToUtf8(std::wstring(1, static_cast<wchar_t>(0xD800))), "\xEF\xBF\xBD");
    EXPECT_EQ(ToUtf8(std::wstring(1, static_cast<wchar_t>(0x110000))), "\xEF\xBF\xBD");
}

TEST(Text, ReplacesInvalidUtf8)
{
    EXPECT_EQ(ToWide("a\xFF"
                     "b"),
              L"a\xFFFD"
              L"b");
    EXPECT_EQ(ToWide("\xC0\xAF"), L"\xFFFD\xFFFD") << "an overlong slash is no slash";
    EXPECT_EQ(ToWide("\xED\xA0\x80"), L"\xFFFD\xFFFD\xFFFD") << "a surrogate";
    EXPECT_EQ(ToWide("\xE6\x9D"), L"\xFFFD\xFFFD") << "cut off";
}

TEST(Text, EscapesHtml)
{
    EXPECT_EQ(EscapeHtml(L"<b>Tom & \"Jo's\"</b>"),
              L"&lt;b&gt;Tom &amp; &quot;Jo&#39;s&quot;&lt;/b&gt;");
}

TEST(Text, EncodesBase64)
{
    EXPECT_EQ(EncodeBase64(""), "");
    EXPECT_EQ(EncodeBase64("f"), "Zg==");
    EXPECT_EQ(EncodeBase64("fo"), "Zm8=");
    EXPECT_EQ(EncodeBase64("foobar"), "Zm9vYmFy");
}

TEST(Text, EncodesAPathSegment)
{
    EXPECT_EQ(EncodePathSegment("To Console/ä"), "To%20Console%2F%C3%A4");
    EXPECT_EQ(EncodePathSegment("AZaz09-._~"), "AZaz09-._~");
}

} // namespace kesdk::impl
