// Downloads that a later call or a restarted console resumes, and part files that it must not
// resume.
#include "support/ResumeFixture.h"

namespace kesdk::impl {

namespace {

using test::Fault;
using test::kCutAt;
using DownloadResume = test::ResumeFixture;

} // namespace

TEST_F(DownloadResume, ResumesAtTheEndOfThePartFile)
{
    BeginAndStop();
    ExpectSaved(kCutAt);
}

TEST_F(DownloadResume, ResumesFromThePartFileOfAKilledProcess)
{
    BeginAndStop();
    std::filesystem::resize_file(folder.Path("here.zip.part"), 50'000);
    ExpectSaved(50'000);
}

TEST_F(DownloadResume, ResumesAfterADeadLink)
{
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, kCutAt));
    for (int i = 0; i < 50; ++i)
        service.FailNext(Drop("GET /v1/resources/"));
    EXPECT_EQ(Fetch().code, EErrorCode::eNoProgress);
    while (service.Count("GET /v1/resources/") < 52) // the rest of the faults
        api.GetResource(call, id);
    ExpectSaved(kCutAt);
}

// As when the console joins a wrong network, or its clock is set. The part file stays whole.
TEST_F(DownloadResume, ResumesAfterAnyErrorOnTheWay)
{
    for (const EErrorCode code :
         {EErrorCode::eDropped, EErrorCode::eTimeout, EErrorCode::eUnknownAuthority,
          EErrorCode::eCertificateExpired, EErrorCode::eCertificateNotYetValid,
          EErrorCode::eWrongHostName, EErrorCode::eTls, EErrorCode::eClockWrong,
          EErrorCode::eCaptivePortal, EErrorCode::eBadAnswer, EErrorCode::eInternal}) {
        SCOPED_TRACE(static_cast<int>(code));
        BeginAndStop();
        service.FailNext(Drop("GET /v1/resources/", code));
        AbortAfter("GET /v1/resources/", service.Count("GET /v1/resources/") + 1);
        EXPECT_TRUE(Fetch().IsSet());
        call.abort = nullptr;
        ExpectSaved(kCutAt);
        std::filesystem::remove(folder.Path("here.zip"));
    }
}

TEST_F(DownloadResume, ResumesAfterAnErrorOfTheService)
{
    for (const HttpResponse& answer :
         {test::Problem(507, "insufficient-storage"), test::Problem(500, "internal"),
          test::Problem(401, "unauthenticated"), test::Problem(400, "malformed-request"),
          test::MakeResponse(302), test::MakeResponse(404, "no route")}) {
        SCOPED_TRACE(answer.status);
        BeginAndStop();
        service.FailNext(Answer("GET /v1/resources/", answer));
        EXPECT_TRUE(Fetch().IsSet());
        ExpectSaved(kCutAt);
        std::filesystem::remove(folder.Path("here.zip"));
    }
}

TEST_F(DownloadResume, RemovesThePartFileOfAFileThatTheServiceRefuses)
{
    for (const HttpResponse& answer :
         {test::Problem(404, "not-found"), test::Problem(403, "forbidden"),
          test::Problem(412, "precondition-failed"), test::Problem(416, "range-not-satisfiable"),
          test::MakeResponse(206, "x", {{"Content-Range", "bytes 1-1/9"}})}) {
        SCOPED_TRACE(answer.status);
        BeginAndStop();
        service.FailNext(Answer("GET /v1/resources/", answer));
        EXPECT_TRUE(Fetch().IsSet());
        EXPECT_EQ(folder.EntryCount(), 0u);
    }
}

TEST_F(DownloadResume, RenamesAWholePartFileWithoutARequest)
{
    BeginAndStop();
    folder.Write("here.zip.part", content);
    const std::size_t before = service.Requests().size();
    EXPECT_FALSE(Fetch().IsSet());
    EXPECT_TRUE(folder.Read("here.zip") == content);
    EXPECT_EQ(folder.EntryCount(), 1u);
    EXPECT_EQ(service.Requests().size(), before);
}

TEST_F(DownloadResume, IgnoresAPartFileOfAnotherVersion)
{
    BeginAndStop();
    service.RemoveFile(id);
    const std::string other(content.rbegin(), content.rend());
    file = std::get<FileRecord>(
        api.GetResource(call, service.AddFile(inbox, "line.zip", other)).value);
    EXPECT_FALSE(Fetch().IsSet());
    EXPECT_TRUE(folder.Read("here.zip") == other);
    EXPECT_EQ(service.Requests().back().Header("Range"), "");
}

TEST_F(DownloadResume, IgnoresAPartFileOfAnotherAccount)
{
    for (const char* other : {"https://service.test\n8", "https://other.test\n7", ""}) {
        call.account = "https://service.test\n7";
        BeginAndStop();
        call.account = other;
        ExpectSaved(0);
        std::filesystem::remove(folder.Path("here.zip"));
    }
}

TEST_F(DownloadResume, IgnoresAPartFileWhoseDigestIsWrong)
{
    BeginAndStop();
    folder.Write("here.zip.part", std::string(kCutAt, '\0')); // as after a power cut
    ExpectSaved(0);
}

TEST_F(DownloadResume, IgnoresAJournalWithoutAPartFile)
{
    BeginAndStop();
    std::filesystem::remove(folder.Path("here.zip.part"));
    ExpectSaved(0);
}

TEST_F(DownloadResume, LeavesNoJournalWhenThePartFileCannotBeCreated)
{
    std::filesystem::create_directory(folder.Path("here.zip.part"));
    EXPECT_EQ(Fetch().code, EErrorCode::eCannotWrite);
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(DownloadResume, IgnoresATornJournal)
{
    BeginAndStop();
    const std::string journal = folder.Path("here.zip.part.journal");
    std::filesystem::resize_file(journal, std::filesystem::file_size(journal) - 1);
    ExpectSaved(0);
}

TEST_F(DownloadResume, FollowsNoLinkUnderThePartFilesName)
{
    BeginAndStop();
    const kelvo::test::TempFolder elsewhere;
    std::filesystem::rename(folder.Path("here.zip.part"), elsewhere.Path("target"));
    std::filesystem::create_symlink(elsewhere.Path("target"), folder.Path("here.zip.part"));
    ExpectSaved(0);
    EXPECT_EQ(elsewhere.Read("target").size(), kCutAt);
}

TEST_F(DownloadResume, BeginsAnewWhenTheServiceDoesNotResume)
{
    BeginAndStop();
    service.FailNext(Answer("GET /v1/resources/", test::MakeResponse(200, content)));
    EXPECT_FALSE(Fetch().IsSet());
    EXPECT_TRUE(folder.Read("here.zip") == content);
}

TEST_F(DownloadResume, KeepsThePartFileWhenReadingItIsAborted)
{
    BeginAndStop();
    call.abort = [] { return true; };
    EXPECT_EQ(Fetch().code, EErrorCode::eAborted);
    call.abort = nullptr;
    ExpectSaved(kCutAt);
}

TEST_F(DownloadResume, RemovesThePartFileOfAFileThatIsGone)
{
    BeginAndStop();
    service.RemoveFile(id);
    EXPECT_EQ(Fetch().code, EErrorCode::eFileGone);
    EXPECT_EQ(folder.EntryCount(), 0u);
}

// As on a full disk. The call resumes after a drop, but an aborted call leaves no part file.
TEST_F(DownloadResume, DownloadsWithoutAJournalThatCannotBeWritten)
{
    std::filesystem::create_directory(folder.Path("here.zip.part.journal"));
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, kCutAt));
    AbortAfter("GET /v1/resources/", service.Count("GET /v1/resources/") + 1);
    EXPECT_EQ(Fetch().code, EErrorCode::eAborted);
    EXPECT_EQ(folder.EntryCount(), 1u) << "no journal would say which file the part is of";
    call.abort = nullptr;

    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, kCutAt));
    const Failure failure = Fetch();
    EXPECT_EQ(failure.code, EErrorCode::eNone) << failure.detail;
    EXPECT_TRUE(folder.Read("here.zip") == content);
    EXPECT_EQ(service.Requests().back().Header("Range"), "bytes=" + std::to_string(kCutAt) + "-");
    EXPECT_EQ(folder.EntryCount(), 2u) << "the file, and the folder that has the journal's name";
}

TEST_F(DownloadResume, TheJournalHoldsTheDigestAndNoToken)
{
    BeginAndStop();
    EXPECT_EQ(folder.EntryCount(), 2u);
    const std::string journal = folder.Read("here.zip.part.journal");
    EXPECT_NE(journal.find(file.sha256Hex), std::string::npos);
    EXPECT_EQ(journal.find(call.token), std::string::npos);
}

TEST_F(DownloadResume, KeepsNoJournalOfASmallFile)
{
    file = std::get<FileRecord>(
        api.GetResource(call, service.AddFile(inbox, "small.zip", "small")).value);
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 2));
    AbortAfter("GET /v1/resources/", service.Count("GET /v1/resources/") + 1);
    EXPECT_EQ(Fetch().code, EErrorCode::eAborted);
    EXPECT_EQ(folder.EntryCount(), 0u);
}

} // namespace kesdk::impl
