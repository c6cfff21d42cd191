// The three date formats of HTTP.
#include "http/HttpDate.h"

#include <gtest/gtest.h>

namespace kesdk::impl {

TEST(HttpDate, ReadsAllThreeFormats)
{
    for (const char* text : {"Sun, 06 Nov 2094 08:49:37 GMT", "Sunday, 06-Nov-94 08:49:37 GMT",
                             "Sun Nov  6 08:49:37 2094"})
        EXPECT_EQ(ParseHttpDate(text), 3'939'871'777) << text;
}

TEST(HttpDate, ReadsLeapYearsAndDatesBeyond32Bits)
{
    EXPECT_EQ(ParseHttpDate("Thu, 01 Jan 1970 00:00:00 GMT"), 0);
    EXPECT_EQ(ParseHttpDate("Tue, 29 Feb 2000 00:00:00 GMT"), 951'782'400);
    EXPECT_EQ(ParseHttpDate("Wed, 01 Mar 2000 00:00:00 GMT"), 951'868'800);
    EXPECT_EQ(ParseHttpDate("Mon, 01 Mar 2100 00:00:00 GMT"), 4'107'542'400) << "beyond 32 bits";
}

TEST(HttpDate, RefusesOtherTexts)
{
    for (const char* text : {"", "120", "soon", "Sun, 06 Nov", "Sun, 32 Nov 2094 08:49:37 GMT",
                             "Sun, 06 Non 2094 08:49:37 GMT", "Sun, 06 Nov 2094 25:49:37 GMT",
                             "Sun, 06 Nov 2094 08:49 GMT", "Sun, 06 Nov 99999 08:49:37 GMT",
                             "Sun, 06 Nov 1924 08:49:37 GMT", ",,,", "-1"})
        EXPECT_EQ(ParseHttpDate(text), std::nullopt) << text;
}

} // namespace kesdk::impl
