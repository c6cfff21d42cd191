// Answers that belong to another upload: a broken middlebox repeats them, or a key was used before.
#include "support/UploadFixture.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace kesdk::impl {

namespace {

using test::Fault;
using test::SentRequest;

// The service's answer to the last request of an upload.
HttpResponse AnswerTo(const std::string& name, const std::vector<std::int64_t>& ids,
                      const std::string& content, std::int64_t container,
                      std::int64_t moreBytes = 0)
{
    Sha256 hash;
    hash.Update(content.data(), content.size());
    const Sha256::Digest digest = hash.Finish();
    nlohmann::json files = nlohmann::json::array();
    std::string list;
    for (const std::int64_t id : ids) {
        list += (list.empty() ? "" : ",") + std::to_string(id);
        files.push_back({{"id", id},
                         {"kind", "file"},
                         {"name", name},
                         {"container", container},
                         {"size", static_cast<std::int64_t>(content.size()) + moreBytes},
                         {"sha256", ToHex(digest)},
                         {"created_at", "2026-01-01T00:00:00Z"},
                         {"etag", '"' + ToHex(digest) + '"'}});
    }
    return test::Reply(201, nlohmann::json{{"files", files}}.dump(),
                       {{"Location", "/kelvo-api/v1/uploads/earlier"},
                        {"Upload-Offset", std::to_string(content.size())},
                        {"Kelvo-File-Ids", list},
                        {"Repr-Digest", ToReprDigest(digest)}});
}

} // namespace

TEST_F(UploadsTest, KeepsTheFileOfAnEarlierUploadWithTheSameKey)
{
    const std::int64_t earlier = service.AddFile(inbox, "report.txt", "what it once held");
    service.FailNext(Answer("POST /v1/uploads", EarlierResult(earlier)));
    const auto sent = Send();
    EXPECT_EQ(sent.failure.code, EErrorCode::eNone) << sent.failure.detail;
    ASSERT_EQ(service.FileIds(inbox).size(), 2u);
    EXPECT_EQ(service.Content(earlier), "what it once held");
    ASSERT_EQ(sent.value.size(), 1u);
    EXPECT_EQ(service.Content(sent.value[0].id), kContent);
    EXPECT_EQ(service.Count("DELETE"), 0);
}

TEST_F(UploadsTest, KeepsTheFileOfAnEarlierUploadWhenTheFirstAnswerWasLost)
{
    const std::int64_t earlier = service.AddFile(inbox, "report.txt", "what it once held");
    service.FailNext(Drop("POST /v1/uploads"));
    service.FailNext(Answer("POST /v1/uploads", EarlierResult(earlier)));
    const auto sent = Send();
    EXPECT_EQ(sent.failure.code, EErrorCode::eNone) << sent.failure.detail;
    EXPECT_EQ(service.Content(earlier), "what it once held");
    EXPECT_EQ(service.FileIds(inbox).size(), 2u);
    EXPECT_EQ(service.Count("DELETE"), 0);
}

TEST_F(UploadsTest, KeepsTheFileOfAnEarlierUploadWhenTheLocalFileChanges)
{
    const std::int64_t earlier = service.AddFile(inbox, "report.txt", kContent);
    HttpResponse answer = EarlierResult(earlier);
    call.abort = [this, asked = 0]() mutable {
        if (++asked == 1)
            folder.Write("report.txt", std::string(kContent.size(), 'x'));
        return false;
    };
    service.FailNext(Answer("POST /v1/uploads", answer));
    EXPECT_EQ(Send().failure.code, EErrorCode::eFileChanged);
    EXPECT_EQ(service.Count("DELETE"), 0);
}

// A broken middlebox repeats the answer to an earlier upload.
TEST_F(UploadsTest, IgnoresTheAnswerToAnotherUpload)
{
    const std::string gone = folder.Write("gone.txt", "the only copy, " + kContent);
    ASSERT_TRUE(SendBy(uploads, gone, {inbox}));
    std::filesystem::remove(gone);
    const std::int64_t earlier = service.FileIds(inbox).front();
    for (const char* line : {"POST /v1/uploads", "PATCH /v1/uploads"}) {
        for (const std::int64_t id : {earlier, earlier + 100}) { // known to this process, or not
            service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
            service.FailNext(
                Answer("PATCH", AnswerTo("gone.txt", {id}, service.Content(earlier), inbox)));
            if (line[1] == 'O')
                service.FailNext(
                    Answer(line, AnswerTo("gone.txt", {id}, service.Content(earlier), inbox)));
            const auto sent = Send();
            ASSERT_TRUE(sent) << sent.failure.detail;
            ASSERT_EQ(service.FileIds(inbox).size(), 2u);
            EXPECT_EQ(service.Content(sent.value.at(0).id), kContent);
            service.RemoveFile(sent.value[0].id);
        }
    }
    EXPECT_EQ(service.FileIds(inbox), Ids{earlier});
    EXPECT_EQ(service.Count("DELETE"), 0);
}

// All of the answer is right, but the file's name, or size, or place.
TEST_F(UploadsTest, IgnoresAnAnswerWithOneWrongRecord)
{
    for (const HttpResponse& answer : {AnswerTo("other.txt", {900}, kContent, inbox),
                                       AnswerTo("report.txt", {900}, kContent, inbox + 1),
                                       AnswerTo("report.txt", {900}, kContent, inbox, 1),
                                       AnswerTo("report.txt", {900, 901}, kContent, inbox)}) {
        const auto before = service.FileIds(inbox).size();
        service.FailNext(Answer("POST /v1/uploads", answer));
        const auto sent = Send();
        ASSERT_TRUE(sent) << sent.failure.detail;
        EXPECT_NE(sent.value.at(0).id, 900);
        EXPECT_EQ(service.FileIds(inbox).size(), before + 1);
    }
    EXPECT_EQ(service.Count("DELETE"), 0);
}

TEST_F(UploadsTest, GivesUpWhenEveryAnswerIsToAnotherUpload)
{
    const std::int64_t earlier = service.AddFile(inbox, "gone.txt", "the only copy");
    for (int i = 0; i < 50; ++i)
        service.FailNext(
            Answer("POST /v1/uploads", AnswerTo("gone.txt", {earlier}, "the only copy", inbox)));
    EXPECT_EQ(Send().failure.code, EErrorCode::eBadReply);
    EXPECT_EQ(service.Count("POST /v1/uploads"), 6);
    EXPECT_EQ(service.Count("DELETE"), 0);
    EXPECT_EQ(service.FileIds(inbox), Ids{earlier});
}

TEST_F(UploadsTest, IgnoresTheOffsetOfAnotherUpload)
{
    for (const char* offset : {"40", "4000"}) {
        service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
        service.FailNext(Answer("PATCH", test::Reply(204, {},
                                                     {{"Location", "/kelvo-api/v1/uploads/x9"},
                                                      {"Upload-Offset", offset}})));
        const auto sent = Send();
        ASSERT_TRUE(sent) << sent.failure.detail;
        EXPECT_EQ(service.Content(sent.value.at(0).id), kContent);
    }
    EXPECT_EQ(service.Count("PATCH /v1/uploads/x9"), 0);
}

} // namespace kesdk::impl
