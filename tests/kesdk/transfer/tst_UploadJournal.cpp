// Uploads that a restarted console resumes from its journal, and uploads that it must not resume.
#include "support/UploadJournalFixture.h"
#include "transfer/JournalFile.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>

namespace kesdk::impl {

namespace {

using test::Fault;
using test::SentRequest;
using Lines = std::vector<std::string>;

} // namespace

TEST_F(UploadJournalTest, ResumesAtTheServicesOffset)
{
    BeginAndStop();
    ExpectStored(SendAndRemove(), kContent);
    EXPECT_EQ(SentSince(), (Lines{"POST /v1/uploads", "POST /v1/uploads", "PATCH /v1/uploads/u1",
                                  "POST /v1/uploads"}));
    EXPECT_EQ(LastContent(), kContent.substr(30));
    EXPECT_EQ(JournalCount(), 0u);
}

TEST_F(UploadJournalTest, ResumesByItsKeyWhenNoAnswerGaveTheAddress)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    AbortAfter("POST /v1/uploads", 1);
    EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eAborted);
    call.abort = nullptr;
    ExpectStored(SendAsNewProcess(), kContent);
    EXPECT_EQ(LastContent(), kContent.substr(20));
    std::set<std::string> keys;
    for (const test::SentRequest& sent : service.Requests())
        keys.insert(sent.Header("Idempotency-Key"));
    keys.erase("");
    EXPECT_EQ(keys.size(), 1u) << "the resumed upload sends the key of the first request";
}

TEST_F(UploadJournalTest, HoldsNoTokenAndOnlyItsOwnerMayReadIt)
{
    BeginAndStop();
    std::ifstream stream(Journal());
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    EXPECT_NE(text.find(path), std::string::npos) << "it is the journal";
    EXPECT_EQ(text.find(call.token), std::string::npos);
    EXPECT_EQ(std::filesystem::status(Journal()).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(UploadJournalTest, IgnoresTheJournalOfAnotherAccount)
{
    BeginAndStop();
    for (const char* other : {"https://service.test\n8", ""}) {
        call.account = other;
        AbortAfter("", static_cast<int>(service.Requests().size()) + 1);
        SendAsNewProcess();
        EXPECT_FALSE(LastContent().empty()) << "it began anew";
    }
    const Lines sent = SentSince();
    EXPECT_EQ(std::count(sent.begin(), sent.end(), "POST /v1/uploads"), 2);
}

TEST_F(UploadJournalTest, ResumesAtAnotherAddressOfTheService)
{
    BeginAndStop();
    call.account = "https://other.test\n7";
    ExpectStored(SendAndRemove(), kContent);
    EXPECT_EQ(LastContent(), kContent.substr(30));
    EXPECT_EQ(JournalCount(), 0u);
}

TEST_F(UploadJournalTest, SendsAChangedFileFromItsStart)
{
    BeginAndStop();
    const std::string longer = kContent + " and more";
    folder.Write("report.txt", longer);
    ExpectStored(SendAndRemove(), longer);
    EXPECT_EQ(SentSince(), Lines{"POST /v1/uploads"});
    EXPECT_EQ(JournalCount(), 0u);
}

TEST_F(UploadJournalTest, SendsAFileWithAnotherDateFromItsStart)
{
    BeginAndStop();
    const auto written = std::filesystem::last_write_time(path);
    std::filesystem::last_write_time(path, written + std::chrono::nanoseconds(1000));
    ExpectStored(SendAsNewProcess(), kContent);
    EXPECT_EQ(SentSince(), Lines{"POST /v1/uploads"});
}

TEST_F(UploadJournalTest, SendsAFileWithTheSameDateAndOtherContentFromItsStart)
{
    BeginAndStop();
    const auto written = std::filesystem::last_write_time(path);
    const std::string other(kContent.size(), 'x');
    folder.Write("report.txt", other);
    std::filesystem::last_write_time(path, written);
    const auto sent = SendAsNewProcess();
    ASSERT_TRUE(sent) << sent.failure.detail;
    EXPECT_EQ(service.Content(sent.value.at(0).id), other);
    EXPECT_EQ(service.FileIds(inbox).size(), 2u) << "the copy that mixes both contents stays";
    EXPECT_EQ(service.Count("DELETE"), 0);
}

TEST_F(UploadJournalTest, FailsWhenTheFileChangesWhileItIsSent)
{
    BeginAndStop();
    service.onRequest = [this](const std::string& line) {
        if (line.rfind("PATCH", 0) == 0)
            folder.Write("report.txt", std::string(kContent.size(), 'x'));
    };
    ExpectFailure(SendAsNewProcess(), EErrorCode::eFileChanged);
    EXPECT_EQ(JournalCount(), 0u);
}

// As when the console joins a wrong network, or its clock is set.
TEST_F(UploadJournalTest, ResumesAfterAnyErrorOnTheWay)
{
    for (const EErrorCode code :
         {EErrorCode::eUnknownAuthority, EErrorCode::eCertificateExpired,
          EErrorCode::eCertificateNotYetValid, EErrorCode::eWrongHostName, EErrorCode::eTls,
          EErrorCode::eClockWrong, EErrorCode::eBadAnswer, EErrorCode::eInternal}) {
        SCOPED_TRACE(static_cast<int>(code));
        service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
        service.FailNext(Drop("PATCH", code));
        EXPECT_EQ(SendAsNewProcess().failure.code, code);
        EXPECT_EQ(JournalCount(), 1u);
        ExpectStored(SendAndRemove(), kContent);
        EXPECT_EQ(LastContent(), kContent.substr(20));
        EXPECT_EQ(JournalCount(), 0u);
        folder.Write("report.txt", kContent);
        service.RemoveFile(service.FileIds(inbox).at(0));
    }
}

TEST_F(UploadJournalTest, ResumesAfterAStallTimeoutAndARestart)
{
    service.FailNext(Stall("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Stall("PATCH", Fault::EKind::eCutRequest, 10));
    AbortAfter("PATCH", 1);
    EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eAborted);
    EXPECT_EQ(JournalCount(), 1u);
    call.abort = nullptr;
    ExpectStored(SendAndRemove(), kContent);
    EXPECT_EQ(LastContent(), kContent.substr(30));
    EXPECT_EQ(JournalCount(), 0u);
}

// The file gets other permissions in between. The key in the journal still finds the result.
TEST_F(UploadJournalTest, StoresTheFileOnceWhenTheOutcomeIsUnknown)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    service.FailNext(Drop("POST /v1/uploads", EErrorCode::eWrongHostName)); // asks for the offset
    EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eWrongHostName);
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    ExpectStored(SendAsNewProcess(), kContent);
}

TEST_F(UploadJournalTest, KeepsTheKeyWhenARefusalFollowsALostAnswer)
{
    service.FailNext(Drop("POST /v1/uploads", true));
    service.FailNext(Answer("POST /v1/uploads", test::Problem(403, "forbidden")));
    EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eForbidden);
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    ExpectStored(SendAsNewProcess(), kContent);
}

TEST_F(UploadJournalTest, KeepsNoJournalOfAnUploadThatTheServiceRefused)
{
    for (const HttpResponse& answer :
         {test::Problem(404, "not-found"), test::Problem(403, "forbidden"),
          test::Problem(413, "content-too-large"), test::Problem(422, "unprocessable")}) {
        service.FailNext(Answer("POST /v1/uploads", answer));
        EXPECT_EQ(SendAsNewProcess().failure.httpStatus, answer.status);
        EXPECT_EQ(JournalCount(), 0u) << answer.status;
    }
}

TEST_F(UploadJournalTest, StoresTheFileAnewWhenItsResultWasRemoved)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Drop("PATCH", true));
    AbortAfter("PATCH", 1);
    EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eAborted);
    call.abort = nullptr;
    ASSERT_EQ(service.FileIds(inbox).size(), 1u) << "it was committed";
    service.RemoveFile(service.FileIds(inbox)[0]);
    ExpectStored(SendAsNewProcess(), kContent);
}

TEST_F(UploadJournalTest, FindsTheResultOfALostAnswer)
{
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    service.FailNext(Drop("PATCH", true));
    AbortAfter("PATCH", 1);
    EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eAborted);
    call.abort = nullptr;
    ExpectStored(SendAsNewProcess(), kContent);
    EXPECT_EQ(service.Count("PATCH"), 1) << "nothing was sent again";
}

TEST_F(UploadJournalTest, BeginsAnewWhenTheServiceHasNoSuchUpload)
{
    BeginAndStop();
    service.ForgetUploads();
    ExpectStored(SendAndRemove(), kContent);
    EXPECT_EQ(JournalCount(), 0u);
}

TEST_F(UploadJournalTest, RemovesATornJournal)
{
    BeginAndStop();
    std::filesystem::resize_file(Journal(), std::filesystem::file_size(Journal()) / 2);
    ExpectStored(SendAndRemove(), kContent);
    EXPECT_EQ(service.Count("HEAD"), 0);
    EXPECT_EQ(JournalCount(), 0u);
}

TEST_F(UploadJournalTest, IgnoresAnAlteredJournal)
{
    BeginAndStop();
    const std::string start = R"("key":")";
    const std::string journal = ReadJournal(Journal()).value;
    const std::string key = journal.substr(journal.find(start) + start.size(), 64);
    const std::string altered = (key.front() == '0' ? '1' : '0') + key.substr(1);
    {
        std::fstream file(Journal(), std::ios::in | std::ios::out | std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(file), {});
        file.seekp(static_cast<std::streamoff>(text.find(key)));
        file.put(altered.front());
    }
    ExpectStored(SendAsNewProcess(), kContent);
    for (const SentRequest& sent : service.Requests())
        EXPECT_NE(sent.Header("Idempotency-Key"), altered);
}

TEST_F(UploadJournalTest, RemovesJournalsThatAreOlderThanAWeek)
{
    BeginAndStop();
    const auto leftover = state.Write("own/leftover.upload.new", "torn by a crash");
    const auto foreign = state.Write("own/readme", "not ours");
    for (const std::string& name :
         {Journal().filename().string(), std::string("leftover.upload.new"), std::string("readme")})
        state.Date("own/" + name, test::NextMonthS() - test::kWeekS - test::kHourS);
    wallTimeS = &test::NextMonthS;
    call.abort = [] { return true; };
    SendAsNewProcess();
    EXPECT_TRUE(std::filesystem::exists(foreign));
    EXPECT_FALSE(std::filesystem::exists(leftover));
    call.abort = nullptr;
    ExpectStored(SendAsNewProcess(), kContent);
    EXPECT_EQ(service.Count("HEAD"), 0);
}

TEST_F(UploadJournalTest, KeepsTheJournalWhileTheClockIsWrong)
{
    BeginAndStop();
    wallTimeS = [] { return std::int64_t{4'102'444'800}; }; // 2100
    ExpectStored(SendAsNewProcess(), kContent);
    EXPECT_EQ(LastContent(), kContent.substr(30));
}

// The service keeps an upload for one week after the last byte that arrived.
TEST_F(UploadJournalTest, DatesTheJournalWhenBytesArrive)
{
    BeginAndStop();
    state.Date("own/" + Journal().filename().string(), wallTimeS() - test::kHourS);
    const auto before = std::filesystem::last_write_time(Journal());
    service.FailNext(Cut("PATCH", Fault::EKind::eCutRequest, 10));
    AbortAfter("PATCH", 2);
    EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eAborted);
    EXPECT_GT(std::filesystem::last_write_time(Journal()), before);
}

TEST_F(UploadJournalTest, UploadsWithoutAJournalWhereTheFolderCannotBeWritten)
{
    state.Write("file", "");
    Uploads process{api, timing, state.Path("file/own"), wallTimeS};
    ExpectStored(SendBy(process, path, {inbox}), kContent);
}

} // namespace kesdk::impl
