// The checksum of a part.
#include "service/api/UploadChecksum.h"
#include "service/http/Problem.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"

#include <gtest/gtest.h>

namespace kelvo::api {
namespace {

class UploadChecksum : public testing::Test
{
protected:
    std::optional<Checksum> of(const std::string& value)
    {
        head.fields.set("Upload-Checksum", value);
        http::BodyReader body(*pair.server, limits, head, early);
        const http::Request request{head, body, limits, "peer"};
        return checksumOf(request);
    }

    bool matches(const std::string& value, const std::string& text)
    {
        auto checksum = of(value);
        checksum->add(text.data(), text.size());
        return checksum->matches();
    }

    test::Loop loop;
    test::TcpPair pair{loop.io()};
    http::Limits limits;
    http::RequestHead head;
    std::string early;
};

TEST_F(UploadChecksum, ChecksumCoversThePart)
{
    // The digests of "abc" in FIPS 180-4.
    const std::string sha1 = "sha1 qZk+NkcGgWq6PiVxeFDCbJzQ2J0=";
    const std::string sha256 = "SHA256  ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=";
    EXPECT_TRUE(matches(sha1, "abc"));
    EXPECT_FALSE(matches(sha1, "abd"));
    EXPECT_TRUE(matches(sha256, "abc"));
    EXPECT_FALSE(matches(sha256, ""));
    EXPECT_FALSE(of(""));
}

TEST_F(UploadChecksum, MustBeAKnownAlgorithmAndAWholeDigest)
{
    for (const char* wrong :
         {"md5 kAFQmDzST7DWlj99KOF/cg==", "sha1", "sha1 ", "sha1 !!!!", "sha1 YWJj",
          "sha256 qZk+NkcGgWq6PiVxeFDCbJzQ2J0=", "qZk+NkcGgWq6PiVxeFDCbJzQ2J0="}) {
        try {
            of(wrong);
            ADD_FAILURE() << wrong;
        } catch (const http::Problem& problem) {
            EXPECT_EQ(problem.kind(), http::EProblem::MalformedRequest) << wrong;
        }
    }
}

} // namespace
} // namespace kelvo::api
