// Uploads over a link that drops at each step.
#include "support/UploadFixture.h"

#include <utility>

namespace kesdk::impl {

namespace {

using test::Fault;

using UploadResume = UploadsTest;

} // namespace

TEST_F(UploadResume, ResumesAtEveryOffset)
{
    for (std::size_t at = 0; at <= kContent.size(); ++at) {
        const std::string content = kContent + std::to_string(at);
        const std::string file = folder.Write("cut" + std::to_string(at), content);
        service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, at));
        const auto sent = SendBy(uploads, file, {inbox});
        ASSERT_EQ(sent.failure.code, EErrorCode::eNone) << at << sent.failure.detail;
        EXPECT_EQ(service.Content(sent.value.at(0).id), content) << at;
        EXPECT_EQ(LastContent(), content.substr(at)) << "only the missing bytes";
        EXPECT_EQ(sent.value[0].sizeBytes, static_cast<std::int64_t>(content.size()));
    }
    EXPECT_EQ(service.FileIds(inbox).size(), kContent.size() + 1);
}

TEST_F(UploadResume, ResumesAnyNumberOfTimesAsLongAsBytesArrive)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 3));
    for (int i = 0; i < 15; ++i) // more drops than are allowed without progress
        service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 3));
    ExpectStored(Send(), kContent);
}

TEST_F(UploadResume, ResumesAfterAProxyHasEndedASlowRequest)
{
    service.FailNext(Answer("POST /v1/uploads", test::MakeResponse(408, "<html>timeout</html>")));
    ExpectStored(Send(), kContent);
}

TEST_F(UploadResume, ResumesAfterAStallTimeout)
{
    service.FailNext(Stall("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Drop("POST /v1/uploads", EErrorCode::eTimeout)); // asks for the offset
    service.FailNext(Stall("PATCH", Fault::EKind::eCutRequest, 10));
    service.onRequest = [this](const std::string& line) {
        if (line.rfind("PATCH", 0) == 0 && service.Count("PATCH") == 0)
            service.FailNext(Drop("POST /v1/uploads", EErrorCode::eTimeout));
    };
    ExpectStored(Send(), kContent);
    EXPECT_EQ(LastContent(), kContent.substr(30));
    EXPECT_EQ(service.Count("POST /v1/uploads"), 7);
    ExpectContentLimits("PATCH");
}

TEST_F(UploadResume, SurvivesALostAnswerToEachOfItsRequests)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 10));
    service.FailNext(Drop("POST /v1/uploads", true)); // asks for the offset
    service.FailNext(Drop("PATCH", true));            // the rest
    ExpectStored(Send(), kContent);
}

TEST_F(UploadResume, GivesUpAfterFiveMinutesWithoutAByte)
{
    service.SetOnline(false);
    const Clock::Time begin = time->Now();
    const auto sent = Send();
    ExpectFailure(sent, EErrorCode::eNoProgress);
    EXPECT_NE(sent.failure.detail.find("the link"), std::string::npos) << sent.failure.detail;
    const auto lasted = time->Now() - begin;
    EXPECT_GE(lasted, std::chrono::minutes(5));
    EXPECT_LT(lasted, std::chrono::minutes(5) + std::chrono::seconds(8))
        << "at most one more pause";
}

TEST_F(UploadResume, GivesTheNextFileThirtySecondsOnADeadLink)
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

// A console needs more than five minutes to read 4 GB again.
TEST_F(UploadResume, DoesNotCountTheTimeOfReadingTheSentBytesAgain)
{
    const kelvo::test::TempFolder state;
    call.account = "https://service.test\n7";
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 10));
    AbortAfter("PATCH", 1);
    {
        Uploads process{api, timing, state.Path("own"), wallTimeS};
        EXPECT_EQ(SendBy(process, path, {inbox}).failure.code, EErrorCode::eAborted);
    }
    Uploads process{api, timing, state.Path("own"), wallTimeS};
    bool isNext = false;
    service.onRequest = [&](const std::string& line) { isNext = line == "POST /v1/uploads"; };
    call.abort = [&] { // polled between two blocks of the digest
        if (std::exchange(isNext, false))
            time->Advance(std::chrono::minutes(6));
        return false;
    };
    service.FailNext(Drop("PATCH"));
    ExpectStored(SendBy(process, path, {inbox}), kContent);
    EXPECT_EQ(service.Count("PATCH"), 3);
}

TEST_F(UploadResume, GivesFiveMinutesAgainAnHourAfterADeadLink)
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

TEST_F(UploadResume, LastsAnyTimeAsLongAsBytesArrive)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 3));
    service.onRequest = [this](const std::string& line) {
        if (line.rfind("PATCH", 0) != 0)
            return;
        service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 3));
        for (int lost = 0; lost < 34; ++lost) // about four minutes
            service.FailNext(Drop("POST /v1/uploads"));
    };
    const Clock::Time begin = time->Now();
    ExpectStored(Send(), kContent);
    EXPECT_GT(time->Now() - begin, std::chrono::minutes(30));
}

TEST_F(UploadResume, AsksForTheOffsetAfterALongRequestThatDropped)
{
    service.onRequest = [this](const std::string& line) {
        if (line == "POST /v1/uploads" || line.rfind("PATCH", 0) == 0)
            time->Advance(std::chrono::minutes(10));
    };
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 3));
    service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 3));
    ExpectStored(Send(), kContent);
}

TEST_F(UploadResume, GivesUpWhenLongRequestsStoreNothing)
{
    service.onRequest = [this](const std::string& line) {
        if (line == "POST /v1/uploads" || line.rfind("PATCH", 0) == 0)
            time->Advance(std::chrono::minutes(10));
    };
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 3));
    for (int i = 0; i < 50; ++i)
        service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 0));
    ExpectFailure(Send(), EErrorCode::eBadAnswer);
    EXPECT_EQ(service.Count("PATCH"), 6);
}

// The kernel of a frozen service accepts connections, and no TLS handshake ends. The limit of a
// handshake is longer than a stall window.
TEST_F(UploadResume, GivesUpWhenNoHandshakeEnds)
{
    service.onRequest = [this](const std::string&) { time->Advance(std::chrono::seconds(31)); };
    for (int i = 0; i < 50; ++i)
        service.FailNext(Drop("POST /v1/uploads", EErrorCode::eConnectTimeout));
    const Clock::Time begin = time->Now();
    ExpectFailure(Send(), EErrorCode::eNoProgress);
    EXPECT_LT(time->Now() - begin, std::chrono::minutes(6));
    const Clock::Time next = time->Now();
    ExpectFailure(Send(), EErrorCode::eNoProgress);
    EXPECT_LT(time->Now() - next, std::chrono::minutes(2));
}

TEST_F(UploadResume, AsksForTheOffsetByTheKey)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 10));
    ExpectStored(Send(), kContent);
    // The content; twice for the location; for the offset after the drop; for the records.
    EXPECT_EQ(service.Count("POST /v1/uploads"), 5);
    EXPECT_EQ(service.Count("HEAD"), 0);
    EXPECT_EQ(LastContent(), kContent.substr(30));
}

TEST_F(UploadResume, FindsTheResultOfAnEarlierCall)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    AbortAfter("POST /v1/uploads", 1);
    EXPECT_EQ(Send().failure.code, EErrorCode::eAborted)
        << "the file is stored, but no answer said so";
    call.abort = nullptr;
    ExpectStored(Send(), kContent);
}

TEST_F(UploadResume, FindsTheResultAfterARestart)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    AbortAfter("POST /v1/uploads", 1);
    EXPECT_EQ(Send().failure.code, EErrorCode::eAborted);
    call.abort = nullptr;
    Uploads restarted{api, timing, {}, wallTimeS};
    ExpectStored(SendBy(restarted, path, {inbox}), kContent);
}

TEST_F(UploadResume, ResumesAfterARestart)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    AbortAfter("POST /v1/uploads", 1);
    EXPECT_EQ(Send().failure.code, EErrorCode::eAborted);
    call.abort = nullptr;
    Uploads restarted{api, timing, {}, wallTimeS};
    ExpectStored(SendBy(restarted, path, {inbox}), kContent);
    EXPECT_EQ(LastContent(), kContent.substr(20));
}

TEST_F(UploadResume, BeginsAnewWhenTheUploadExpired)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Answer("PATCH", test::Problem(404, "not-found")));
    ExpectStored(Send(), kContent);
}

TEST_F(UploadResume, AsksForTheOffsetAgainAfterAMismatch)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Answer("PATCH", test::Problem(409, "upload-offset-mismatch")));
    ExpectStored(Send(), kContent);
}

TEST_F(UploadResume, StoresNoSecondFileAfterARestart)
{
    ExpectStored(Send(), kContent);
    Uploads restarted{api, timing, {}, wallTimeS};
    ExpectStored(SendBy(restarted, path, {inbox}), kContent);
}

TEST_F(UploadResume, WaitsAsLongAsRetryAfterSays)
{
    HttpResponse busy = test::Problem(503, "busy");
    busy.headers.push_back({"Retry-After", "11"});
    service.FailNext(Answer("POST", busy));
    ExpectStored(Send(), kContent);
    ASSERT_EQ(time->Sleeps().size(), 1u);
    EXPECT_EQ(time->Sleeps()[0], std::chrono::seconds(11));
}

TEST_F(UploadResume, DoesNotWaitWhenRetryAfterIsTooLong)
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
