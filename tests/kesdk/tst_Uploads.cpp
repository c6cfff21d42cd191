// Uploads of files that will not hold still, and what the service says to them.
#include "support/UploadFixture.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <iterator>

namespace kesdk::impl {

namespace {

using test::Fault;
using test::SentRequest;

} // namespace

TEST_F(UploadsTest, IsOneRequest)
{
    ExpectKept(Send(), kContent);
    EXPECT_EQ(service.Count("POST /v1/uploads"), 1);
    EXPECT_EQ(service.Count("PATCH"), 0);
    ExpectContentLimits("POST /v1/uploads");
}

TEST_F(UploadsTest, SendsAnEmptyFile)
{
    folder.Write("report.txt", "");
    ExpectKept(Send(), "");
}

// As a console writes them whose clock is wrong; a time of 32 bits ends in 2038.
TEST_F(UploadsTest, SendsAFileOfAnyDate)
{
    static_assert(sizeof(off_t) == 8, "files may be larger than 2 GiB");
    constexpr std::int64_t kDatesS[] = {0, 4'102'444'800, 7'258'118'400}; // 1970, 2100, 2200
    for (const std::int64_t dateS : kDatesS) {
        timespec times[2] = {};
        times[0].tv_sec = times[1].tv_sec = static_cast<time_t>(dateS);
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
        const auto sent = Send();
        EXPECT_TRUE(sent) << dateS << ": " << sent.failure.detail;
    }
    EXPECT_EQ(service.FileIds(inbox).size(), std::size(kDatesS));
}

// Only its ends hold anything, so it costs neither space nor time to make.
TEST_F(UploadsTest, KnowsTheSizeOfAFileAboveFourGiB)
{
    constexpr std::int64_t kSizeBytes = std::int64_t{5} << 30;
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(kSizeBytes));
    UploadFile file;
    ASSERT_FALSE(file.Open(path).IsSet());
    EXPECT_EQ(file.SizeBytes(), kSizeBytes);
    call.abort = [] { return true; };
    EXPECT_TRUE(Send().failure.Is(EErrorCode::eAborted)) << "not because it could not be read";
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

TEST_F(UploadsTest, TheSameFileSentTwiceIsTwoFiles)
{
    EXPECT_TRUE(Send());
    EXPECT_TRUE(Send());
    EXPECT_EQ(service.FileIds(inbox).size(), 2u);
}

TEST_F(UploadsTest, DeletesACopyThatIsNotWhatWasSent)
{
    service.CorruptNextCommit();
    ExpectFailure(Send(), EErrorCode::eFileChanged);
    EXPECT_EQ(service.Count("DELETE /v1/resources/"), 1);
    ExpectKept(Send(), kContent); // the next one is a new upload
}

TEST_F(UploadsTest, DeletesAWrongCopyLaterWhenTheLinkDoesNotCarryItNow)
{
    service.CorruptNextCommit();
    for (int i = 0; i < 3; ++i)
        service.FailNext(Drop("DELETE /v1/resources/"));
    EXPECT_EQ(Send().failure.code, EErrorCode::eFileChanged);
    ASSERT_EQ(service.FileIds(inbox).size(), 1u);
    ExpectKept(Send(), kContent);
    EXPECT_EQ(service.Count("DELETE /v1/resources/"), 4);
}

TEST_F(UploadsTest, AConsoleThatWasRestartedDeletesAWrongCopy)
{
    const test::TempFolder state;
    const auto sendAs = [&](const char* account) {
        Uploads process{api, state.Path("own")};
        call.account = account;
        return process.Send(call, path, {inbox});
    };
    service.CorruptNextCommit();
    for (int i = 0; i < 3; ++i)
        service.FailNext(Drop("DELETE /v1/resources/"));
    EXPECT_EQ(sendAs("https://service.test\n7").failure.code, EErrorCode::eFileChanged);
    const Ids wrong = service.FileIds(inbox);
    ASSERT_EQ(wrong.size(), 1u);
    folder.Write("report.txt", "rewritten since");
    EXPECT_TRUE(sendAs("https://service.test\n8")) << "an id is another file to another account";
    EXPECT_EQ(service.FileIds(inbox).front(), wrong.front());
    EXPECT_TRUE(sendAs("https://service.test\n7"));
    const Ids left = service.FileIds(inbox);
    EXPECT_EQ(std::count(left.begin(), left.end(), wrong[0]), 0);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(state.Path("own")), {}), 0);
}

TEST_F(UploadsTest, DeletesAWrongCopyAlsoWhenTheConsoleEnds)
{
    service.CorruptNextCommit();
    StopBehind("POST /v1/uploads", 1);
    ExpectFailure(Send(), EErrorCode::eFileChanged);
    EXPECT_EQ(service.Count("DELETE /v1/resources/"), 1);
}

TEST_F(UploadsTest, DoesNotHoldUpAConsoleThatEndsForAWrongCopy)
{
    service.CorruptNextCommit();
    StopBehind("POST /v1/uploads", 1);
    for (int i = 0; i < 3; ++i)
        service.FailNext(Drop("DELETE /v1/resources/"));
    const Clock::Time begin = time->Now();
    EXPECT_EQ(Send().failure.code, EErrorCode::eFileChanged);
    EXPECT_LE(time->Now() - begin, std::chrono::seconds(2));
    const SentRequest last = service.Requests().back();
    EXPECT_EQ(last.request.method, "DELETE");
    EXPECT_LE(last.request.limits.total, std::chrono::seconds(2));
    EXPECT_GT(last.request.limits.total, std::chrono::seconds(0));
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

// Whoever removed it did so while it was on its way: the copy may be the last one.
TEST_F(UploadsTest, KeepsTheCopyOfAFileThatIsGoneSince)
{
    const auto remove = [this] { std::filesystem::remove(path); };
    ExpectKept(uploads.Send(call, path, {inbox}, remove), kContent);
    EXPECT_EQ(service.Count("DELETE"), 0);
}

TEST_F(UploadsTest, KeepsTheCopyOfAFileThatWasRenamedSince)
{
    const auto rename = [this] { std::filesystem::rename(path, folder.Path("renamed")); };
    ExpectKept(uploads.Send(call, path, {inbox}, rename), kContent);
}

TEST_F(UploadsTest, DeletesAWrongCopyOfAFileThatIsGoneSince)
{
    service.CorruptNextCommit();
    const auto remove = [this] { std::filesystem::remove(path); };
    ExpectFailure(uploads.Send(call, path, {inbox}, remove), EErrorCode::eFileChanged);
    EXPECT_EQ(service.Count("DELETE /v1/resources/"), 1);
}

// It is not what the file held in the end, but all that is left of it.
TEST_F(UploadsTest, KeepsTheCopyOfAFileThatWasRewrittenAndThenRemoved)
{
    const auto sent = uploads.Send(call, path, {inbox}, [this] {
        folder.Write("report.txt", "rewritten");
        std::filesystem::remove(path);
    });
    EXPECT_EQ(sent.failure.code, EErrorCode::eFileChanged);
    ASSERT_EQ(service.FileIds(inbox).size(), 1u);
    EXPECT_EQ(service.Content(service.FileIds(inbox)[0]), kContent);
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

TEST_F(UploadsTest, AbortEndsItAtOnce)
{
    call.abort = [] { return true; };
    ExpectFailure(Send(), EErrorCode::eAborted);
}

} // namespace kesdk::impl
