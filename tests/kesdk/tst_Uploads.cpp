// Uploads over a link that drops at each step, and files that will not hold still.
#include "support/TransferFixture.h"
#include "transfer/Uploads.h"

namespace kesdk::impl {

namespace {

using test::Fault;
using Ids = std::vector<std::int64_t>;

const std::string kContent = "Hektar für Hektar: a report of fifty-some bytes, no more";

class UploadsTest : public test::TransferFixture
{
protected:
    Result<std::vector<FileRecord>> Send() { return uploads.Send(call, path, {inbox}); }

    // The upload went well, and the service holds exactly one right copy.
    void ExpectKept(const Result<std::vector<FileRecord>>& sent, const std::string& content)
    {
        EXPECT_EQ(sent.failure.code, EErrorCode::eNone) << sent.failure.detail;
        const Ids files = service.FileIds(inbox);
        ASSERT_EQ(files.size(), 1u);
        EXPECT_EQ(service.Content(files[0]), content);
        ASSERT_EQ(sent.value.size(), 1u);
        EXPECT_EQ(sent.value[0].id, files[0]);
        EXPECT_EQ(sent.value[0].containerId, inbox);
        EXPECT_EQ(sent.value[0].name, L"report.txt");
        EXPECT_EQ(sent.value[0].sizeBytes, static_cast<std::int64_t>(content.size()));
        EXPECT_EQ(sent.value[0].etag, '"' + sent.value[0].sha256Hex + '"');
    }

    void ExpectFailure(const Result<std::vector<FileRecord>>& sent, EErrorCode code)
    {
        EXPECT_EQ(sent.failure.code, code) << sent.failure.detail;
        EXPECT_TRUE(service.FileIds(inbox).empty());
    }

    // What the service says to a key whose upload has long come to its end.
    HttpResponse EarlierResult(std::int64_t file) const
    {
        const std::string content = service.Content(file);
        Sha256 hash;
        hash.Update(content.data(), content.size());
        return test::Reply(201, "{}",
                           {{"Location", "/kelvo-api/v1/uploads/earlier"},
                            {"Upload-Offset", std::to_string(kContent.size())},
                            {"Kelvo-File-Ids", std::to_string(file)},
                            {"Repr-Digest", ToReprDigest(hash.Finish())},
                            {"Kelvo-Repeated", "true"}});
    }

    const std::string path = folder.Write("report.txt", kContent);
    Uploads uploads{api};
};

} // namespace

TEST_F(UploadsTest, IsOneRequest)
{
    ExpectKept(Send(), kContent);
    EXPECT_EQ(service.Count("POST /v1/uploads"), 1);
    EXPECT_EQ(service.Count("PATCH"), 0);
}

TEST_F(UploadsTest, SendsAnEmptyFile)
{
    folder.Write("report.txt", "");
    ExpectKept(Send(), "");
}

TEST_F(UploadsTest, GoesToEveryTarget)
{
    const std::int64_t second = service.AddInbox(user, "Curves");
    const auto sent = uploads.Send(call, path, {inbox, second});
    ASSERT_EQ(sent.value.size(), 2u);
    EXPECT_EQ(sent.value[1].containerId, second);
    EXPECT_EQ(service.Content(service.FileIds(second).at(0)), kContent);
}

TEST_F(UploadsTest, IsNotDisturbedByAConnectionThatFailedBeforeAnythingLeft)
{
    Fault fault = Drop("POST /v1/uploads");
    fault.dropCode = EErrorCode::eRefused;
    service.FailNext(fault);
    ExpectKept(Send(), kContent);
    EXPECT_EQ(service.Requests().back().content, kContent) << "all of it in one request again";
}

TEST_F(UploadsTest, AsksWhereItStandsWhenTheRequestWasLost)
{
    service.FailNext(Drop("POST /v1/uploads"));
    ExpectKept(Send(), kContent);
}

TEST_F(UploadsTest, FindsItsResultWhenTheAnswerWasLost)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    ExpectKept(Send(), kContent);
    EXPECT_EQ(service.Count("PATCH"), 0);
}

TEST_F(UploadsTest, ResumesWhereverTheFirstRequestWasCut)
{
    for (std::size_t at = 0; at <= kContent.size(); ++at) {
        const std::string content = kContent + std::to_string(at);
        const std::string file = folder.Write("cut" + std::to_string(at), content);
        service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, at));
        const auto sent = uploads.Send(call, file, {inbox});
        ASSERT_EQ(sent.failure.code, EErrorCode::eNone) << at << sent.failure.detail;
        EXPECT_EQ(service.Content(sent.value.at(0).id), content) << at;
        EXPECT_EQ(service.Requests().back().content, content.substr(at)) << "only what lacked";
        EXPECT_EQ(sent.value[0].sizeBytes, static_cast<std::int64_t>(content.size()));
    }
    EXPECT_EQ(service.FileIds(inbox).size(), kContent.size() + 1);
}

TEST_F(UploadsTest, ResumesAgainAndAgainAsLongAsItAdvances)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 3));
    for (int i = 0; i < 15; ++i) // more often than it is tried without progress
        service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 3));
    ExpectKept(Send(), kContent);
}

TEST_F(UploadsTest, SurvivesALostAnswerToEachOfItsRequests)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 10));
    service.FailNext(Drop("POST /v1/uploads", true)); // the question
    service.FailNext(Drop("PATCH", true));            // the rest
    ExpectKept(Send(), kContent);
}

TEST_F(UploadsTest, GivesUpWhenNothingAdvances)
{
    for (int i = 0; i < 50; ++i)
        service.FailNext(Drop("POST /v1/uploads"));
    ExpectFailure(Send(), EErrorCode::eDropped);
    EXPECT_EQ(service.Count("POST /v1/uploads"), 6);
}

TEST_F(UploadsTest, ALaterCallFindsTheResultOfAnEarlierOne)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    for (int i = 0; i < 5; ++i)
        service.FailNext(Drop("POST /v1/uploads"));
    EXPECT_EQ(Send().failure.code, EErrorCode::eDropped) << "it is there, but we cannot know";
    ExpectKept(Send(), kContent);
}

TEST_F(UploadsTest, AConsoleThatWasRestartedFindsTheResultOfTheOneBefore)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    for (int i = 0; i < 5; ++i)
        service.FailNext(Drop("POST /v1/uploads"));
    EXPECT_EQ(Send().failure.code, EErrorCode::eDropped);
    Uploads restarted{api};
    ExpectKept(restarted.Send(call, path, {inbox}), kContent);
}

TEST_F(UploadsTest, AConsoleThatWasRestartedGoesOnWhereTheOneBeforeWas)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    for (int i = 0; i < 6; ++i)
        service.FailNext(Drop("POST /v1/uploads"));
    EXPECT_EQ(Send().failure.code, EErrorCode::eDropped);
    Uploads restarted{api};
    ExpectKept(restarted.Send(call, path, {inbox}), kContent);
    EXPECT_EQ(service.Requests().back().content, kContent.substr(20));
}

TEST_F(UploadsTest, TheSameFileSentTwiceIsTwoFiles)
{
    EXPECT_TRUE(Send());
    EXPECT_TRUE(Send());
    EXPECT_EQ(service.FileIds(inbox).size(), 2u);
}

TEST_F(UploadsTest, BeginsAnewWhenTheUploadExpired)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Answer("PATCH", test::Problem(404, "not-found")));
    ExpectKept(Send(), kContent);
}

TEST_F(UploadsTest, AsksAgainWhenTheOffsetIsAnother)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Answer("PATCH", test::Problem(409, "upload-offset-mismatch")));
    ExpectKept(Send(), kContent);
}

TEST_F(UploadsTest, DeletesACopyThatIsNotWhatWasSent)
{
    service.CorruptNextCommit();
    ExpectFailure(Send(), EErrorCode::eFileChanged);
    EXPECT_EQ(service.Count("DELETE /v1/resources/"), 1);
    ExpectKept(Send(), kContent); // the next one is a new upload
}

TEST_F(UploadsTest, LeavesAloneWhatAnEarlierUploadLeftUnderTheSameKey)
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

TEST_F(UploadsTest, LeavesItAloneAlsoWhenTheAnswerThatToldOfItWasLost)
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

TEST_F(UploadsTest, LeavesItAloneAlsoWhenTheFileChangesMeanwhile)
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

TEST_F(UploadsTest, AConsoleThatWasRestartedMakesNoSecondFileOfTheSame)
{
    ExpectKept(Send(), kContent);
    Uploads restarted{api};
    ExpectKept(restarted.Send(call, path, {inbox}), kContent);
}

TEST_F(UploadsTest, DeletesTheCopyOfAFileThatChangedMeanwhile)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    call.abort = [this, asked = 0]() mutable {
        if (++asked == 2) // between the two requests
            folder.Write("report.txt", std::string(kContent.size(), 'x'));
        return false;
    };
    ExpectFailure(Send(), EErrorCode::eFileChanged);
}

TEST_F(UploadsTest, DeletesTheCopyWhenAnotherFileTookTheName)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    call.abort = [this, asked = 0]() mutable {
        if (++asked == 2) {
            folder.Write("other", kContent);
            std::filesystem::rename(folder.Path("other"), path);
        }
        return false;
    };
    ExpectFailure(Send(), EErrorCode::eFileChanged);
}

TEST_F(UploadsTest, NoticesAFileThatShrinks)
{
    call.abort = [this, asked = 0]() mutable {
        if (++asked == 1)
            std::filesystem::resize_file(path, 10);
        return false;
    };
    ExpectFailure(Send(), EErrorCode::eFileChanged);
}

TEST_F(UploadsTest, SaysWhatIsWrongWithTheFile)
{
    EXPECT_EQ(uploads.Send(call, folder.Path("none"), {inbox}).failure.code,
              EErrorCode::eFileMissing);
    EXPECT_EQ(uploads.Send(call, folder.Path(), {inbox}).failure.code, EErrorCode::eNotAFile);
    EXPECT_EQ(service.Count("POST /v1/uploads"), 0);
}

TEST_F(UploadsTest, PassesOnWhatTheServiceSays)
{
    const std::pair<test::Fault, EErrorCode> cases[] = {
        {Answer("POST", test::Problem(507, "insufficient-storage")), EErrorCode::eServiceFull},
        {Answer("POST", test::Problem(422, "unprocessable")), EErrorCode::eRefusedByService},
        {Answer("POST", test::Problem(404, "not-found")), EErrorCode::eNotFound},
        {Answer("POST", test::Problem(403, "forbidden")), EErrorCode::eForbidden},
        {Answer("POST", test::Problem(401, "unauthenticated")), EErrorCode::eSessionEnded},
        {Answer("POST", test::Problem(413, "content-too-large")), EErrorCode::eTooLarge},
        {Answer("POST", test::Reply(200, "hello")), EErrorCode::eBadReply},
    };
    for (const auto& [fault, code] : cases) {
        service.FailNext(fault);
        ExpectFailure(Send(), code);
    }
}

TEST_F(UploadsTest, WaitsForABusyServiceAsLongAsItAsks)
{
    HttpResponse busy = test::Problem(503, "busy");
    busy.headers.push_back({"Retry-After", "11"});
    service.FailNext(Answer("POST", busy));
    ExpectKept(Send(), kContent);
    ASSERT_EQ(time->Sleeps().size(), 1u);
    EXPECT_EQ(time->Sleeps()[0], std::chrono::seconds(11));
}

TEST_F(UploadsTest, AbortEndsItAtOnce)
{
    call.abort = [] { return true; };
    ExpectFailure(Send(), EErrorCode::eAborted);
}

} // namespace kesdk::impl
