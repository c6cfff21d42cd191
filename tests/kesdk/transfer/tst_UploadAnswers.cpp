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
                      std::int64_t moreBytes = 0, const std::string& upload = "earlier")
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
    return test::MakeResponse(201, nlohmann::json{{"files", files}}.dump(),
                              {{"Location", "/kelvo-api/v1/uploads/" + upload},
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

// One thing in each answer is wrong: the name, the target, the size or the number of files.
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
    EXPECT_EQ(Send().failure.code, EErrorCode::eBadAnswer);
    EXPECT_EQ(service.Count("POST /v1/uploads"), 6);
    EXPECT_EQ(service.Count("DELETE"), 0);
    EXPECT_EQ(service.FileIds(inbox), Ids{earlier});
}

// The ids that the service told an earlier process are not known any more.
TEST_F(UploadsTest, KeepsTheCopyOfAnEarlierUploadOfTheSameNameSizeAndTarget)
{
    const std::string other(kContent.size(), 'a');
    const std::int64_t earlier = service.AddFile(inbox, "report.txt", other);
    for (int i = 0; i < 2; ++i)
        service.FailNext(
            Replace("POST /v1/uploads", AnswerTo("report.txt", {earlier}, other, inbox)));
    const auto sent = Send();
    ASSERT_TRUE(sent) << sent.failure.detail;
    EXPECT_EQ(service.FileIds(inbox), (Ids{earlier, sent.value.at(0).id}));
    EXPECT_EQ(service.Content(sent.value[0].id), kContent);
    EXPECT_EQ(service.Count("DELETE"), 0);
}

TEST_F(UploadsTest, KeepsTheCopyOfAnEarlierUploadWhenTheCallIsAborted)
{
    const std::string other(kContent.size(), 'a');
    const std::int64_t earlier = service.AddFile(inbox, "report.txt", other);
    service.FailNext(Replace("POST /v1/uploads", AnswerTo("report.txt", {earlier}, other, inbox)));
    AbortAfter("POST /v1/uploads", 1);
    EXPECT_FALSE(Send());
    EXPECT_EQ(service.FileIds(inbox).front(), earlier);
    EXPECT_EQ(service.Count("DELETE"), 0);
}

TEST_F(UploadsTest, KeepsTheCopyOfAnEarlierUploadWhenTheFileChangesWhileItIsSent)
{
    const std::string other(kContent.size(), 'a');
    const std::int64_t earlier = service.AddFile(inbox, "report.txt", other);
    service.FailNext(Replace("POST /v1/uploads", AnswerTo("report.txt", {earlier}, other, inbox)));
    service.onRequest = [this](const std::string&) {
        folder.Write("report.txt", kContent + " and more");
    };
    EXPECT_FALSE(Send());
    EXPECT_EQ(service.FileIds(inbox).front(), earlier);
}

TEST_F(UploadsTest, KeepsTheCopyOfAnEarlierUploadWhenTheFileChangesAfterItWasSent)
{
    const std::int64_t earlier = service.AddFile(inbox, "report.txt", kContent);
    service.FailNext(
        Replace("POST /v1/uploads", AnswerTo("report.txt", {earlier}, kContent, inbox)));
    const auto sent = Send([this] { folder.Write("report.txt", kContent + " and more"); });
    EXPECT_EQ(sent.failure.code, EErrorCode::eFileChanged);
    EXPECT_EQ(service.FileIds(inbox).front(), earlier);
}

TEST_F(UploadsTest, StoresTheFileOnceWhenTwoAnswersBelongToAnotherUpload)
{
    const std::string gone = folder.Write("gone.txt", kContent);
    const auto first = SendBy(uploads, gone, {inbox});
    ASSERT_TRUE(first);
    const std::int64_t earlier = first.value.at(0).id;
    for (int i = 0; i < 2; ++i)
        service.FailNext(
            Replace("POST /v1/uploads", AnswerTo("gone.txt", {earlier}, kContent, inbox, 0, "u1")));
    const auto sent = Send();
    ASSERT_TRUE(sent) << sent.failure.detail;
    EXPECT_EQ(service.FileIds(inbox), (Ids{earlier, sent.value.at(0).id}));
}

TEST_F(UploadsTest, StoresTheSameFileAgainWhenTheFirstAnswerIsRepeated)
{
    const auto first = Send();
    ASSERT_TRUE(first);
    const std::int64_t earlier = first.value.at(0).id;
    service.FailNext(
        Replace("POST /v1/uploads", AnswerTo("report.txt", {earlier}, kContent, inbox, 0, "u1")));
    const auto sent = Send();
    ASSERT_TRUE(sent) << sent.failure.detail;
    EXPECT_NE(sent.value.at(0).id, earlier);
    EXPECT_EQ(service.FileIds(inbox).size(), 2u);
}

TEST_F(UploadsTest, IgnoresAnAnswerWithTwoRecordsOfOneTarget)
{
    const std::int64_t second = service.AddInbox(user, "Curves");
    const HttpResponse answer = AnswerTo("report.txt", {900, 901}, kContent, inbox);
    service.FailNext(Answer("POST /v1/uploads", answer));
    const auto sent = SendBy(uploads, path, {inbox, second});
    ASSERT_TRUE(sent) << sent.failure.detail;
    EXPECT_EQ(sent.value.size(), 2u);
    EXPECT_EQ(sent.value[0].id, service.FileIds(inbox).at(0));
}

// The answer to the last PATCH has no records.
TEST_F(UploadsTest, AsksForTheRecordsOfAResumedUpload)
{
    Sha256 hash;
    hash.Update(kContent.data(), kContent.size());
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(
        Replace("PATCH", test::MakeResponse(204, {},
                                            {{"Upload-Offset", std::to_string(kContent.size())},
                                             {"Kelvo-File-Ids", "900"},
                                             {"Repr-Digest", ToReprDigest(hash.Finish())}})));
    ExpectStored(Send(), kContent);
}

// Another upload of this process is incomplete: its answer names another place for the bytes.
TEST_F(UploadsTest, SendsNoByteToTheLocationOfAnotherUpload)
{
    const std::string first = folder.Write("first.txt", std::string(kContent.size(), 'a'));
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 10));
    AbortAfter("PATCH", 1);
    EXPECT_EQ(SendBy(uploads, first, {inbox}).failure.code, EErrorCode::eAborted);
    call.abort = nullptr;
    const HttpResponse offset = test::MakeResponse(
        201, {}, {{"Location", "/kelvo-api/v1/uploads/u1"}, {"Upload-Offset", "30"}});
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    for (int i = 0; i < 3; ++i)
        service.FailNext(Answer("POST /v1/uploads", offset));
    ExpectStored(Send(), kContent);
    EXPECT_EQ(service.Count("PATCH /v1/uploads/u1"), 1) << "of the first file";
    EXPECT_TRUE(SendBy(uploads, first, {inbox})) << "it resumes";
    EXPECT_EQ(service.Content(service.FileIds(inbox).at(1)), std::string(kContent.size(), 'a'));
}

TEST_F(UploadsTest, SendsNoByteToALocationThatOnlyOneAnswerNames)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Answer(
        "POST /v1/uploads",
        test::MakeResponse(
            201, {}, {{"Location", "/kelvo-api/v1/uploads/earlier"}, {"Upload-Offset", "30"}})));
    ExpectStored(Send(), kContent);
    EXPECT_EQ(service.Count("PATCH /v1/uploads/earlier"), 0);
}

TEST_F(UploadsTest, EndsAfterThreeChangesOfTheLocationAndKeepsTheKey)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    for (const char* upload : {"a", "b", "c", "d"}) {
        const std::string location = std::string("/kelvo-api/v1/uploads/") + upload;
        const HttpResponse offset =
            test::MakeResponse(201, {}, {{"Location", location}, {"Upload-Offset", "10"}});
        service.FailNext(Answer("POST /v1/uploads", offset));
        service.FailNext(Answer("POST /v1/uploads", offset));
    }
    for (int i = 0; i < 4; ++i)
        service.FailNext(Answer("PATCH", test::Problem(404, "not-found")));
    const auto sent = Send();
    EXPECT_EQ(sent.failure.code, EErrorCode::eBadAnswer) << sent.failure.detail;
    EXPECT_EQ(service.Count("PATCH"), 3);
    service.FailNext(Answer("POST /v1/uploads", test::Problem(409, "conflict"))); // drops "d"
    ExpectStored(Send(), kContent);
    EXPECT_EQ(LastContent(), kContent.substr(20)) << "resumed under the same key";
}

TEST_F(UploadsTest, ReportsThatTheServiceIsBusyWithTheFileAfterSixConflicts)
{
    for (int i = 0; i < 50; ++i)
        service.FailNext(Answer("POST /v1/uploads", test::Problem(409, "conflict")));
    EXPECT_EQ(Send().failure.code, EErrorCode::eConflict);
    EXPECT_EQ(service.Count("POST /v1/uploads"), 6);
}

// The service carried the last request out, and a middlebox repeats the end of another upload.
TEST_F(UploadsTest, StoresTheFileOnceWhenTheAnswerSaysThatTheUploadExpired)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Replace("PATCH", test::Problem(404, "not-found")));
    ExpectStored(Send(), kContent);
}

// The answer to PATCH that a middlebox repeats has no location, as from the service, or has one.
TEST_F(UploadsTest, IgnoresTheOffsetOfAnotherUpload)
{
    for (const bool hasLocation : {false, true}) {
        for (const char* offset : {"25", "50", "4000"}) {
            HttpResponse foreign = test::MakeResponse(204, {}, {{"Upload-Offset", offset}});
            if (hasLocation)
                foreign.headers.push_back({"Location", "/kelvo-api/v1/uploads/x9"});
            service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
            service.FailNext(Answer("PATCH", foreign));
            const auto sent = Send();
            ASSERT_TRUE(sent) << sent.failure.detail;
            EXPECT_EQ(service.Content(sent.value.at(0).id), kContent);
        }
    }
    EXPECT_EQ(service.Count("PATCH /v1/uploads/x9"), 0);
    EXPECT_EQ(service.Count("PATCH"), 12) << "no byte was sent to a wrong offset";
}

// The offset of the other upload is beyond the bytes that arrive afterwards. Four minutes pass
// between two arrivals.
TEST_F(UploadsTest, CountsProgressBelowTheOffsetOfAnotherUpload)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Answer("PATCH", test::MakeResponse(204, {}, {{"Upload-Offset", "50"}})));
    for (int i = 0; i < 4; ++i)
        service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 5));
    service.onRequest = [this](const std::string& line) {
        const bool sendsBytes = line.rfind("PATCH", 0) == 0 && service.Count("PATCH") > 0;
        for (int lost = 0; sendsBytes && lost < 34; ++lost)
            service.FailNext(Drop("POST /v1/uploads"));
    };
    ExpectStored(Send(), kContent);
}

} // namespace kesdk::impl
