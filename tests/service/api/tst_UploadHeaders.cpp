// The headers of an upload.
#include "service/api/TusMetadata.h"
#include "service/api/UploadHeaders.h"
#include "service/base/Encoding.h"
#include "service/http/Problem.h"
#include "tests/service/support/RunAwaitable.h"
#include "tests/service/support/TcpPair.h"

#include <gmock/gmock.h>

namespace kelvo::api {
namespace {

using http::EProblem;
using testing::ElementsAre;
using testing::Pair;

TEST(UploadMetadata, ReadsAListOfKeysWithBase64Values)
{
    const auto values = parseMetadata("name ZmllbGQuemlw,targets MTAsMTE=");
    ASSERT_TRUE(values);
    EXPECT_THAT(*values, ElementsAre(Pair("name", "field.zip"), Pair("targets", "10,11")));
}

TEST(UploadMetadata, MayHaveKeysWithoutValueAndSpaces)
{
    const auto values = parseMetadata(" secret , name Zg== ");
    ASSERT_TRUE(values);
    EXPECT_THAT(*values, ElementsAre(Pair("name", "f"), Pair("secret", "")));
    EXPECT_TRUE(parseMetadata("")->empty());
}

TEST(UploadMetadata, RefusesMalformedMetadata)
{
    for (const char* wrong : {"name !!!", "name Zg== Zg==", "name Zg==,,x Zg==",
                              "name Zg==,name Zg==", "na\tme Zg==", "name =="}) {
        EXPECT_FALSE(parseMetadata(wrong)) << wrong;
    }
}

class UploadRequestHeaders : public testing::Test
{
protected:
    UploadRequestHeaders() { setMetadata("field.zip", "10,11"); }

    void set(const char* name, const std::string& value) { head.fields.set(name, value); }

    void setMetadata(const std::string& name, const std::string& targets)
    {
        set("Upload-Metadata", "name " + toBase64(name) + ",targets " + toBase64(targets));
    }

    UploadRequest read()
    {
        http::BodyReader body(*pair.server, limits, head, early);
        const http::Request request{head, body, limits, "peer"};
        return readUploadRequest(request, 1000);
    }

    EProblem refusal()
    {
        try {
            read();
        } catch (const http::Problem& problem) {
            return problem.kind();
        }
        return EProblem::Internal;
    }

    test::Loop loop;
    test::TcpPair pair{loop.io()};
    http::Limits limits;
    http::RequestHead head;
    std::string early;
};

TEST_F(UploadRequestHeaders, ReadsNameTargetsLengthAndKey)
{
    set("Upload-Length", "1000");
    set("Idempotency-Key", "a nonce");
    const UploadRequest wanted = read();
    EXPECT_EQ(wanted.name, "field.zip");
    EXPECT_THAT(wanted.targets, ElementsAre(10, 11));
    EXPECT_EQ(wanted.lengthBytes, 1000);
    EXPECT_EQ(wanted.key, "a nonce");
}

TEST_F(UploadRequestHeaders, NeedALengthWithinTheLimit)
{
    EXPECT_EQ(refusal(), EProblem::MalformedRequest);
    set("Upload-Length", "-1");
    EXPECT_EQ(refusal(), EProblem::MalformedRequest);
    set("Upload-Length", "1001");
    EXPECT_EQ(refusal(), EProblem::ContentTooLarge);
    set("Upload-Length", "99999999999999999999");
    EXPECT_EQ(refusal(), EProblem::MalformedRequest);
}

TEST_F(UploadRequestHeaders, NeedAValidNameAndDistinctTargets)
{
    set("Upload-Length", "5");
    const std::pair<const char*, const char*> wrongs[] = {
        {"", "10"}, {"a/b", "10"}, {"..", "10"},   {"a", ""},
        {"a", "x"}, {"a", "0"},    {"a", "10,10"}, {"a", "10,"},
    };
    for (const auto& [name, targets] : wrongs) {
        setMetadata(name, targets);
        EXPECT_EQ(refusal(), EProblem::Unprocessable) << name << " to " << targets;
    }
    set("Upload-Metadata", "targets MTA=");
    EXPECT_EQ(refusal(), EProblem::Unprocessable);
}

TEST_F(UploadRequestHeaders, MayHaveTheNameAsFilename)
{
    set("Upload-Length", "5");
    set("Upload-Metadata", "filename Zg==,targets MTA=");
    EXPECT_EQ(read().name, "f");
    set("Upload-Metadata", "filename Zg==,name Zw==,targets MTA=");
    EXPECT_EQ(read().name, "g");
}

TEST_F(UploadRequestHeaders, MayDeferTheLength)
{
    set("Upload-Defer-Length", "1");
    EXPECT_EQ(read().lengthBytes, store::unknownLength);
    set("Upload-Length", "5");
    EXPECT_EQ(refusal(), EProblem::MalformedRequest);
    head.fields.erase("Upload-Length");
    set("Upload-Defer-Length", "2");
    EXPECT_EQ(refusal(), EProblem::MalformedRequest);
}

TEST_F(UploadRequestHeaders, NeedNoNameForAPartialUpload)
{
    set("Upload-Length", "5");
    set("Upload-Concat", "Partial");
    head.fields.erase("Upload-Metadata");
    EXPECT_EQ(read().concat, store::partialUpload);
    EXPECT_FALSE(read().isFinal());
}

TEST_F(UploadRequestHeaders, NameThePartsOfAFinalUpload)
{
    set("Upload-Concat", "Final;/kelvo-api/v1/uploads/0a  https://h:1/kelvo-api/v1/uploads/0b");
    const UploadRequest wanted = read();
    EXPECT_THAT(wanted.parts, ElementsAre("0a", "0b"));
    EXPECT_EQ(wanted.name, "field.zip");
    EXPECT_EQ(wanted.key.substr(0, 6), "final:");
    EXPECT_LE(wanted.key.size(), 100U);
    EXPECT_EQ(read().key, wanted.key);
    setMetadata("other.zip", "10");
    EXPECT_NE(read().key, wanted.key);
    set("Idempotency-Key", "mine");
    EXPECT_EQ(read().key, "mine");
}

TEST_F(UploadRequestHeaders, RefuseAMalformedConcatenation)
{
    for (const char* wrong : {"final", "final;", "final; ", "final;/uploads/",
                              "final;/uploads/../x", "final;/uploads/xyz", "whole"}) {
        set("Upload-Concat", wrong);
        EXPECT_EQ(refusal(), EProblem::MalformedRequest) << wrong;
    }
    set("Upload-Concat", "final;/uploads/0a");
    set("Upload-Length", "5");
    EXPECT_EQ(refusal(), EProblem::MalformedRequest);
    head.fields.erase("Upload-Length");
    head.contentLength = 1;
    EXPECT_EQ(refusal(), EProblem::MalformedRequest);
}

TEST_F(UploadRequestHeaders, AcceptKeysOfAtMost100PrintableCharacters)
{
    set("Upload-Length", "5");
    set("Idempotency-Key", std::string(100, 'k'));
    EXPECT_EQ(read().key.size(), 100U);
    set("Idempotency-Key", std::string(101, 'k'));
    EXPECT_EQ(refusal(), EProblem::MalformedRequest);
    set("Idempotency-Key", "caf\xC3\xA9");
    EXPECT_EQ(refusal(), EProblem::MalformedRequest);
}

TEST_F(UploadRequestHeaders, RefuseABodyLongerThanTheUpload)
{
    set("Upload-Length", "5");
    head.contentLength = 6;
    EXPECT_EQ(refusal(), EProblem::ContentTooLarge);
}

} // namespace
} // namespace kelvo::api
