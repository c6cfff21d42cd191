// Addresses of buckets, and files of credentials.
#include "service/objects/BucketAddress.h"
#include "tests/support/TempFolder.h"
#include "tests/support/Variable.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace kelvo::objects {
namespace {

TEST(ABucketAddress, NamesBucketEndpointRegionAndAuthorities)
{
    const auto address = BucketAddress::parse(
        "s3://farm-files?endpoint=https://store.example:8443&region=eu-1&ca=%2Fetc%2Fca.pem");
    EXPECT_EQ(address.bucket, "farm-files");
    EXPECT_EQ(address.endpoint, "https://store.example:8443");
    EXPECT_EQ(address.region, "eu-1");
    EXPECT_EQ(address.caFile, "/etc/ca.pem");
}

TEST(ABucketAddress, RefusesAnAddressWithAMissingOrUnknownPart)
{
    for (const char* text :
         {"", "farm-files", "s3://farm-files", "s3://?endpoint=https://a",
          "s3://ab?endpoint=https://a", "s3://farm-files?region=eu-1",
          "s3://farm-files?endpoint=https://a&unknown=b", "s3://farm-files/maps?endpoint=https://a",
          "s3://farm-files?endpoint=https://a&",
          "s3://farm-files?endpoint=", "s3://farm-files?endpoint=https://a&region=%4"}) {
        EXPECT_THROW(BucketAddress::parse(text), std::invalid_argument) << text;
    }
}

TEST(AnEndpoint, AllowsPlainHttpOnThisMachineOnly)
{
    EXPECT_EQ(hostOf("http://127.0.0.1:7480"), "127.0.0.1:7480");
    EXPECT_EQ(hostOf("http://[::1]:7480"), "[::1]:7480");
    EXPECT_EQ(hostOf("http://[::1]"), "[::1]");
    EXPECT_EQ(hostOf("http://localhost"), "localhost");
    EXPECT_EQ(hostOf("https://store.example"), "store.example");
    for (const char* text : {"http://store.example", "http://localhost.example:1", "store.example",
                             "https://", "https://a/b", "https://user@a", "ftp://a", ""}) {
        EXPECT_THROW(hostOf(text), std::invalid_argument) << text;
    }
}

class CredentialsFile : public testing::Test
{
protected:
    CredentialsFile()
    {
        file = folder.Write("credentials", "the access key\nthe secret key\n");
        ::chmod(file.c_str(), 0600);
    }

    test::TempFolder folder;
    std::string file;
};

TEST_F(CredentialsFile, HasTheAccessKeyAndTheSecretKeyOnTwoLines)
{
    const Credentials found = readCredentials(file);
    EXPECT_EQ(found.accessKey, "the access key");
    EXPECT_EQ(found.secretKey, "the secret key");
}

TEST_F(CredentialsFile, RefusesAFileThatOthersMayRead)
{
    ::chmod(file.c_str(), 0640);
    EXPECT_THROW(readCredentials(file), std::runtime_error);
}

TEST_F(CredentialsFile, RefusesAFileWithoutASecretKey)
{
    folder.Write("credentials", "the access key\n");
    EXPECT_THROW(readCredentials(file), std::runtime_error);
}

TEST_F(CredentialsFile, TheFileCountsBeforeTheVariables)
{
    const test::Variable accessKey("AWS_ACCESS_KEY_ID", "another access key");
    {
        const test::Variable secretKey("AWS_SECRET_ACCESS_KEY", "another secret key");
        EXPECT_EQ(findCredentials().accessKey, "another access key");
        const test::Variable path("KELVO_S3_CREDENTIALS", file);
        EXPECT_EQ(findCredentials().accessKey, "the access key");
    }
    EXPECT_THROW(findCredentials(), std::runtime_error);
}

} // namespace
} // namespace kelvo::objects
