// Accept-Encoding headers.
#include "service/http/Coding.h"

#include <gtest/gtest.h>

namespace kelvo::http {
namespace {

TEST(Coding, UsesACodingOnlyIfTheClientAcceptsIt)
{
    for (const char* header : {"gzip", "deflate, gzip", "br;q=1.0, gzip;q=0.5", "gzip ; q=1"}) {
        EXPECT_TRUE(acceptsCoding(header, "gzip")) << header;
    }
    for (const char* header : {"", "identity", "gzip;q=0", "gzip;q=0.000", "x-gzip", "br"}) {
        EXPECT_FALSE(acceptsCoding(header, "gzip")) << header;
    }
    EXPECT_TRUE(acceptsCoding("gzip, br", "br"));
}

} // namespace
} // namespace kelvo::http
