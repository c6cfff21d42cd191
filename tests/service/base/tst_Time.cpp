// Times as text, including times after 2038.
#include "service/base/Time.h"

#include <gtest/gtest.h>

namespace kelvo {
namespace {

struct Moment
{
    std::int64_t epochMs;
    const char* json;
    const char* header;
};

constexpr Moment moments[] = {
    {0, "1970-01-01T00:00:00.000Z", "Thu, 01 Jan 1970 00:00:00 GMT"},
    {951782400000, "2000-02-29T00:00:00.000Z", "Tue, 29 Feb 2000 00:00:00 GMT"},
    {1700000000007, "2023-11-14T22:13:20.007Z", "Tue, 14 Nov 2023 22:13:20 GMT"},
    {2147483647999, "2038-01-19T03:14:07.999Z", "Tue, 19 Jan 2038 03:14:07 GMT"},
    {2147483648000, "2038-01-19T03:14:08.000Z", "Tue, 19 Jan 2038 03:14:08 GMT"},
    {4102444799999, "2099-12-31T23:59:59.999Z", "Thu, 31 Dec 2099 23:59:59 GMT"},
    {4102444800000, "2100-01-01T00:00:00.000Z", "Fri, 01 Jan 2100 00:00:00 GMT"},
    {4107542400000, "2100-03-01T00:00:00.000Z", "Mon, 01 Mar 2100 00:00:00 GMT"},
    {4294967296000, "2106-02-07T06:28:16.000Z", "Sun, 07 Feb 2106 06:28:16 GMT"},
    {253402300799999, "9999-12-31T23:59:59.999Z", "Fri, 31 Dec 9999 23:59:59 GMT"},
};

TEST(Times, WritesTimesForJson)
{
    for (const Moment& moment : moments) {
        EXPECT_EQ(rfc3339(moment.epochMs), moment.json);
    }
}

TEST(Times, WritesTimesForHeaders)
{
    for (const Moment& moment : moments) {
        EXPECT_EQ(httpDate(moment.epochMs), moment.header);
    }
}

TEST(Times, ReadsTimesAsTheyAreWritten)
{
    for (const Moment& moment : moments) {
        EXPECT_EQ(parseRfc3339(moment.json), moment.epochMs) << moment.json;
    }
}

TEST(Times, ReadsTimesWithAnyFractionOrNone)
{
    EXPECT_EQ(parseRfc3339("2023-11-14T22:13:20Z"), 1700000000000);
    EXPECT_EQ(parseRfc3339("2023-11-14T22:13:20.5Z"), 1700000000500);
    EXPECT_EQ(parseRfc3339("2023-11-14T22:13:20.123456789123Z"), 1700000000123);
    EXPECT_EQ(parseRfc3339("2038-01-19T03:14:08Z"), 2147483648000);
}

TEST(Times, RefusesTimesInAnyOtherForm)
{
    for (const char* wrong :
         {"", "Z", "2023-11-14", "2023-11-14T22:13:20", "2023-11-14 22:13:20Z",
          "2023-11-14T22:13:20+01:00", "2023-11-14T22:13:20.Z", "2023-11-14T22:13:20.-1Z",
          "2023-11-14T22:13:20,5Z", " 2023-1-14T22:13:20Z", "2023-11-14T22:13:2 Z",
          "+023-11-14T22:13:20Z", "2023-11-14T22:13:20.5", "99999-01-01T00:00:00Z"}) {
        EXPECT_EQ(parseRfc3339(wrong), std::nullopt) << wrong;
    }
}

TEST(Times, RefusesTimesThatDoNotExist)
{
    for (const char* wrong :
         {"2023-02-30T00:00:00Z", "2023-02-29T00:00:00Z", "2100-02-29T00:00:00Z",
          "2023-04-31T00:00:00Z", "2023-00-10T00:00:00Z", "2023-13-10T00:00:00Z",
          "2023-11-00T00:00:00Z", "2023-11-14T24:00:00Z", "2023-11-14T22:60:00Z",
          "2016-12-31T23:59:60Z"}) {
        EXPECT_EQ(parseRfc3339(wrong), std::nullopt) << wrong;
    }
}

TEST(Times, RefusesTimesBefore1970)
{
    for (const char* wrong :
         {"1969-12-31T23:59:59Z", "1950-01-01T00:00:00Z", "0000-01-01T00:00:00Z"}) {
        EXPECT_EQ(parseRfc3339(wrong), std::nullopt) << wrong;
    }
}

} // namespace
} // namespace kelvo
