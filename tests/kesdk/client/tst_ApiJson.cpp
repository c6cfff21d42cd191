// Documents with one wrong value.
#include "client/ApiJson.h"

#include <gtest/gtest.h>

namespace kesdk::impl {

namespace {

std::string File(const std::string& id, const std::string& size, const std::string& etag)
{
    return R"({"id":)" + id + R"(,"kind":"file","name":"a.zip","container":10,"size":)" + size +
           R"(,"sha256":"00","etag":")" + etag + R"("})";
}

bool IsRead(const std::string& file)
{
    return ParseUploadedFiles(R"({"files":[)" + file + "]}").has_value();
}

} // namespace

TEST(ApiJson, ReadsAFile)
{
    EXPECT_TRUE(IsRead(File("55", "1", "x")));
}

TEST(ApiJson, RefusesWrongIdsAndSizes)
{
    for (const char* id : {"1e35", "55.0", "0", "-1", "2147483648", "18446744073709551615", "null"})
        EXPECT_FALSE(IsRead(File(id, "1", "x"))) << id;
    for (const char* size : {"1e35", "1.5", "-1", "18446744073709551615", "true"})
        EXPECT_FALSE(IsRead(File("55", size, "x"))) << size;
}

TEST(ApiJson, RefusesControlCharactersInTokenCursorAndEtag)
{
    EXPECT_FALSE(IsRead(File("55", "1", R"(x\r\nAuthorization: y)")));
    EXPECT_FALSE(ParseAccount(R"({"user":{"id":7,"name":"o"},"cursor":"3\n","projects":[]})"));
    EXPECT_TRUE(ParseAccount(R"({"user":{"id":7,"name":"o"},"cursor":"3","projects":[]})"));
    EXPECT_FALSE(ParseLogin(R"({"token":"t\r\n","user":{"id":7,"name":"o"}})"));
}

} // namespace kesdk::impl
