// Uploads over a link that drops at each step.
#include "support/UploadFixture.h"

#include <utility>

namespace kesdk::impl {

namespace {

using test::Fault;

using UploadResume = UploadsTest;

} // namespace

TEST_F(UploadResume, ResumesWhereverTheFirstRequestWasCut)
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

TEST_F(UploadResume, ResumesAgainAndAgainAsLongAsItAdvances)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 3));
    for (int i = 0; i < 15; ++i) // more often than it is tried without progress
        service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 3));
    ExpectKept(Send(), kContent);
}

TEST_F(UploadResume, GoesOnWhereNothingMovedForTooLong)
{
    service.FailNext(Stall("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Drop("POST /v1/uploads", EErrorCode::eTimeout)); // the question
    service.FailNext(Stall("PATCH", Fault::EKind::eCutRequest, 10));
    service.FailNext(Drop("HEAD", EErrorCode::eTimeout));
    ExpectKept(Send(), kContent);
    EXPECT_EQ(service.Requests().back().content, kContent.substr(30));
    ExpectContentLimits("PATCH");
}

TEST_F(UploadResume, SurvivesALostAnswerToEachOfItsRequests)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 10));
    service.FailNext(Drop("POST /v1/uploads", true)); // the question
    service.FailNext(Drop("PATCH", true));            // the rest
    ExpectKept(Send(), kContent);
}

TEST_F(UploadResume, GivesUpWhenNothingGotThroughForFiveMinutes)
{
    service.SetOnline(false);
    const Clock::Time begin = time->Now();
    const auto sent = Send();
    ExpectFailure(sent, EErrorCode::eNoProgress);
    EXPECT_NE(sent.failure.detail.find("the link"), std::string::npos) << sent.failure.detail;
    const auto lasted = time->Now() - begin;
    EXPECT_GE(lasted, std::chrono::minutes(5));
    EXPECT_LT(lasted, std::chrono::minutes(5) + std::chrono::seconds(8)) << "one pause more";
}

TEST_F(UploadResume, GivesTheNextOneLittleTimeOnADeadLink)
{
    service.SetOnline(false);
    ExpectFailure(Send(), EErrorCode::eNoProgress);
    const Clock::Time begin = time->Now();
    for (int i = 0; i < 20; ++i)
        ExpectFailure(Send(), EErrorCode::eNoProgress);
    EXPECT_LT(time->Now() - begin, std::chrono::minutes(20));
    service.SetOnline(true);
    EXPECT_TRUE(Send());
}

// Reading 4 GB again takes a console longer than its patience with the link is.
TEST_F(UploadResume, DigestingWhatWasSentBeforeCostsNoPatience)
{
    const test::TempFolder state;
    call.account = "https://service.test\n7";
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 10));
    StopBehind("PATCH", 1);
    EXPECT_EQ(Uploads(api, state.Path()).Send(call, path, {inbox}).failure.code,
              EErrorCode::eAborted);
    bool isNext = false;
    service.onRequest = [&](const std::string& line) { isNext = line.rfind("HEAD", 0) == 0; };
    call.abort = [&] { // the digest asks between its pieces
        if (std::exchange(isNext, false))
            time->Advance(std::chrono::minutes(6));
        return false;
    };
    service.FailNext(Drop("PATCH"));
    ExpectKept(Uploads(api, state.Path()).Send(call, path, {inbox}), kContent);
    EXPECT_EQ(service.Count("PATCH"), 3);
}

TEST_F(UploadResume, ADeadLinkOfLongAgoDoesNotCount)
{
    service.SetOnline(false);
    ExpectFailure(Send(), EErrorCode::eNoProgress);
    time->Advance(std::chrono::hours(1));
    const Clock::Time begin = time->Now();
    const auto sent = Send();
    ExpectFailure(sent, EErrorCode::eNoProgress);
    EXPECT_GE(time->Now() - begin, std::chrono::minutes(5));
    EXPECT_NE(sent.failure.detail.find("no byte for 300 s"), std::string::npos);
    EXPECT_NE(Send().failure.detail.find("no byte for 30 s"), std::string::npos);
}

TEST_F(UploadResume, GoesOnForHoursAsLongAsSomethingGetsThrough)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 3));
    service.onRequest = [this](const std::string& line) {
        if (line.rfind("PATCH", 0) != 0)
            return;
        service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 3));
        for (int lost = 0; lost < 34; ++lost) // about four minutes
            service.FailNext(Drop("HEAD"));
    };
    const Clock::Time begin = time->Now();
    ExpectKept(Send(), kContent);
    EXPECT_GT(time->Now() - begin, std::chrono::minutes(30));
}

TEST_F(UploadResume, AsksBeforeItGivesUpWhatMovedForLong)
{
    service.onRequest = [this](const std::string& line) {
        if (line == "POST /v1/uploads" || line.rfind("PATCH", 0) == 0)
            time->Advance(std::chrono::minutes(10));
    };
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 3));
    service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 3));
    ExpectKept(Send(), kContent);
}

TEST_F(UploadResume, GivesUpWhatMovesForLongAndNeverArrives)
{
    service.onRequest = [this](const std::string& line) {
        if (line == "POST /v1/uploads" || line.rfind("PATCH", 0) == 0)
            time->Advance(std::chrono::minutes(10));
    };
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 3));
    for (int i = 0; i < 50; ++i)
        service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 0));
    ExpectFailure(Send(), EErrorCode::eBadReply);
    EXPECT_EQ(service.Count("PATCH"), 6);
}

TEST_F(UploadResume, LooksWhereItStandsWithoutItsName)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 10));
    ExpectKept(Send(), kContent);
    EXPECT_EQ(service.Count("HEAD /v1/uploads/"), 1);
    EXPECT_EQ(service.Requests().back().content, kContent.substr(30));
}

TEST_F(UploadResume, ALaterCallFindsTheResultOfAnEarlierOne)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    StopBehind("POST /v1/uploads", 1);
    EXPECT_EQ(Send().failure.code, EErrorCode::eAborted) << "it is there, but we cannot know";
    call.abort = nullptr;
    ExpectKept(Send(), kContent);
}

TEST_F(UploadResume, AConsoleThatWasRestartedFindsTheResultOfTheOneBefore)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    StopBehind("POST /v1/uploads", 1);
    EXPECT_EQ(Send().failure.code, EErrorCode::eAborted);
    call.abort = nullptr;
    Uploads restarted{api};
    ExpectKept(restarted.Send(call, path, {inbox}), kContent);
}

TEST_F(UploadResume, AConsoleThatWasRestartedGoesOnWhereTheOneBeforeWas)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    StopBehind("POST /v1/uploads", 1);
    EXPECT_EQ(Send().failure.code, EErrorCode::eAborted);
    call.abort = nullptr;
    Uploads restarted{api};
    ExpectKept(restarted.Send(call, path, {inbox}), kContent);
    EXPECT_EQ(service.Requests().back().content, kContent.substr(20));
}

TEST_F(UploadResume, BeginsAnewWhenTheUploadExpired)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Answer("PATCH", test::Problem(404, "not-found")));
    ExpectKept(Send(), kContent);
}

TEST_F(UploadResume, AsksAgainWhenTheOffsetIsAnother)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Answer("PATCH", test::Problem(409, "upload-offset-mismatch")));
    ExpectKept(Send(), kContent);
}

TEST_F(UploadResume, AConsoleThatWasRestartedMakesNoSecondFileOfTheSame)
{
    ExpectKept(Send(), kContent);
    Uploads restarted{api};
    ExpectKept(restarted.Send(call, path, {inbox}), kContent);
}

TEST_F(UploadResume, WaitsForABusyServiceAsLongAsItAsks)
{
    HttpResponse busy = test::Problem(503, "busy");
    busy.headers.push_back({"Retry-After", "11"});
    service.FailNext(Answer("POST", busy));
    ExpectKept(Send(), kContent);
    ASSERT_EQ(time->Sleeps().size(), 1u);
    EXPECT_EQ(time->Sleeps()[0], std::chrono::seconds(11));
}

TEST_F(UploadResume, DoesNotWaitForAServiceThatAsksForTooMuch)
{
    HttpResponse busy = test::Problem(503, "busy");
    busy.headers.push_back({"Retry-After", "301"});
    service.FailNext(Answer("POST", busy));
    const auto sent = Send();
    ExpectFailure(sent, EErrorCode::eServiceBusy);
    EXPECT_EQ(sent.failure.retryAfter, std::chrono::seconds(301)) << "for the operator";
    EXPECT_TRUE(time->Sleeps().empty());
}

} // namespace kesdk::impl
