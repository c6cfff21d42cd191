// Downloads over a link that drops, from a service that answers wrongly, onto a disk that is full.
#include "support/TransferFixture.h"
#include "transfer/Downloads.h"

#include <sys/resource.h>

#include <csignal>
#include <variant>

namespace kesdk::impl {

namespace {

using test::Fault;

const std::string kContent = "AB line 7: 52.1, 5.2 to 52.3, 5.4 and so on for some bytes";

class DownloadsTest : public test::TransferFixture
{
protected:
    FileRecord Record(const std::string& name = "line.zip")
    {
        const std::int64_t id = service.AddFile(inbox, name, kContent);
        return std::get<FileRecord>(api.GetResource(call, id).value);
    }
    Failure Fetch(const FileRecord& file)
    {
        return downloads.Fetch(call, file, folder.Path("here.zip"));
    }
    void ExpectSaved(const Failure& failure)
    {
        EXPECT_EQ(failure.code, EErrorCode::eNone) << failure.detail;
        EXPECT_EQ(folder.Read("here.zip"), kContent);
        EXPECT_EQ(folder.EntryCount(), 1u) << "no other file";
    }
    void ExpectFailure(const Failure& failure, EErrorCode code)
    {
        EXPECT_EQ(failure.code, code) << failure.detail;
        EXPECT_EQ(folder.EntryCount(), 0u);
    }

    Downloads downloads{api, timing, wallTimeS};
};

} // namespace

TEST_F(DownloadsTest, SendsOneRequest)
{
    const FileRecord file = Record();
    ExpectSaved(Fetch(file));
    EXPECT_EQ(service.Count("GET /v1/resources/" + std::to_string(file.id) + "/content"), 1);
    EXPECT_EQ(service.Requests().back().Header("If-Match"), file.etag);
    EXPECT_EQ(service.Requests().back().Header("Range"), "");
}

TEST_F(DownloadsTest, FetchesAnEmptyFile)
{
    const std::int64_t id = service.AddFile(inbox, "empty.zip", "");
    const FileRecord file = std::get<FileRecord>(api.GetResource(call, id).value);
    EXPECT_FALSE(Fetch(file).IsSet());
    EXPECT_TRUE(folder.Has("here.zip"));
    EXPECT_EQ(folder.Read("here.zip"), "");
}

TEST_F(DownloadsTest, ReplacesAnEarlierFileAndPartFile)
{
    folder.Write("here.zip", "old");
    folder.Write("here.zip.part",
                 "left by a crash, and longer than the file to fetch: " + kContent);
    ExpectSaved(Fetch(Record()));
}

TEST_F(DownloadsTest, ResumesAtEveryOffset)
{
    const FileRecord file = Record();
    for (std::size_t at = 0; at < kContent.size(); ++at) {
        service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, at));
        ExpectSaved(Fetch(file));
        const std::string range = at == 0 ? "" : "bytes=" + std::to_string(at) + "-";
        EXPECT_EQ(service.Requests().back().Header("Range"), range);
        EXPECT_EQ(service.Requests().back().Header("If-Range"), at == 0 ? "" : file.etag);
    }
}

TEST_F(DownloadsTest, ResumesAnyNumberOfTimesAsLongAsBytesArrive)
{
    const FileRecord file = Record();
    for (int i = 0; i < 15; ++i)
        service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 3));
    ExpectSaved(Fetch(file));
}

TEST_F(DownloadsTest, ResumesAfterAStallTimeout)
{
    const FileRecord file = Record();
    service.FailNext(Stall("GET /v1/resources/", Fault::EKind::eCutResponse, 10));
    service.FailNext(Stall("GET /v1/resources/", Fault::EKind::eCutResponse, 0));
    service.FailNext(Stall("GET /v1/resources/", Fault::EKind::eCutResponse, 20));
    ExpectSaved(Fetch(file));
    EXPECT_EQ(service.Requests().back().Header("Range"), "bytes=30-");
    ExpectContentLimits("GET /v1/resources/" + std::to_string(file.id) + "/content");
}

TEST_F(DownloadsTest, WaitsAsLongAsRetryAfterSays)
{
    const FileRecord file = Record();
    const std::string content = "GET /v1/resources/" + std::to_string(file.id) + "/content";
    service.FailNext(Answer(content, Busy(503, "11")));
    service.FailNext(Cut(content, Fault::EKind::eCutResponse, 10));
    service.FailNext(Answer(content, Busy(429, "Thu, 01 Jan 2026 10:00:22 GMT")));
    ExpectSaved(Fetch(file));
    ASSERT_EQ(time->Sleeps().size(), 3u);
    EXPECT_EQ(time->Sleeps()[0], std::chrono::seconds(11));
    EXPECT_EQ(time->Sleeps()[2], std::chrono::seconds(22));
    EXPECT_EQ(service.Requests().back().Header("Range"), "bytes=10-");
}

TEST_F(DownloadsTest, DoesNotWaitWhenRetryAfterIsTooLong)
{
    const FileRecord file = Record();
    service.FailNext(Answer("GET /v1/resources/", Busy(503, "301")));
    const Failure failure = Fetch(file);
    ExpectFailure(failure, EErrorCode::eServiceBusy);
    EXPECT_EQ(failure.retryAfter, std::chrono::seconds(301)) << "for the operator";
    EXPECT_TRUE(time->Sleeps().empty());
}

TEST_F(DownloadsTest, BeginsAnewWhenTheServiceDoesNotResume)
{
    const FileRecord file = Record();
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 10));
    service.FailNext(Answer("GET /v1/resources/", test::MakeResponse(200, kContent)));
    ExpectSaved(Fetch(file));
}

TEST_F(DownloadsTest, RefusesAWrongRange)
{
    const FileRecord file = Record();
    const int before = service.Count("GET /v1/resources/");
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 10));
    service.FailNext(
        Answer("GET /v1/resources/", test::MakeResponse(206, kContent.substr(12),
                                                        {{"Content-Range", "bytes 12-57/58"}})));
    ExpectFailure(Fetch(file), EErrorCode::eDamaged);
    EXPECT_EQ(service.Count("GET /v1/resources/"), before + 2) << "the wrong bytes are not kept";
}

TEST_F(DownloadsTest, GivesUpAfterFiveMinutesWithoutAByte)
{
    const FileRecord file = Record();
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 10));
    for (int i = 0; i < 50; ++i)
        service.FailNext(Drop("GET /v1/resources/"));
    const Clock::Time begin = time->Now();
    ExpectFailure(Fetch(file), EErrorCode::eNoProgress);
    EXPECT_GE(time->Now() - begin, std::chrono::minutes(5));
    EXPECT_LT(time->Now() - begin, std::chrono::minutes(5) + std::chrono::seconds(8));
}

TEST_F(DownloadsTest, GivesTheNextFileThirtySecondsOnADeadLink)
{
    const FileRecord file = Record();
    service.SetOnline(false);
    ExpectFailure(Fetch(file), EErrorCode::eNoProgress);
    Clock::Time begin = time->Now();
    for (int i = 0; i < 20; ++i)
        ExpectFailure(Fetch(file), EErrorCode::eNoProgress);
    EXPECT_LT(time->Now() - begin, std::chrono::minutes(20));

    service.SetOnline(true);
    EXPECT_FALSE(Fetch(file).IsSet());
    service.SetOnline(false);
    begin = time->Now();
    EXPECT_EQ(Fetch(file).code, EErrorCode::eNoProgress);
    EXPECT_GE(time->Now() - begin, std::chrono::minutes(5)) << "the full deadline again";
}

TEST_F(DownloadsTest, GivesUpWhenTheServiceOnlyRepeatsTheSameBytes)
{
    const FileRecord file = Record();
    const std::string half = kContent.substr(0, 20);
    service.onRequest = [&](const std::string&) {
        service.FailNext(Answer("GET /v1/resources/", test::MakeResponse(200, half)));
    };
    ExpectFailure(Fetch(file), EErrorCode::eNoProgress);
}

TEST_F(DownloadsTest, RefusesADamagedFile)
{
    const FileRecord file = Record();
    service.Corrupt(file.id);
    ExpectFailure(Fetch(file), EErrorCode::eDamaged);
}

TEST_F(DownloadsTest, RefusesAFileThatIsTooLong)
{
    const FileRecord file = Record();
    service.FailNext(Answer("GET /v1/resources/", test::MakeResponse(200, kContent + "and more")));
    ExpectFailure(Fetch(file), EErrorCode::eDamaged);
}

TEST_F(DownloadsTest, KeepsAnEarlierFileWhenItFails)
{
    folder.Write("here.zip", "old");
    const FileRecord file = Record();
    service.Corrupt(file.id);
    EXPECT_TRUE(Fetch(file).IsSet());
    EXPECT_EQ(folder.Read("here.zip"), "old");
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(DownloadsTest, ReportsThatTheFileIsGone)
{
    const FileRecord file = Record();
    service.RemoveFile(file.id);
    ExpectFailure(Fetch(file), EErrorCode::eFileGone);
}

TEST_F(DownloadsTest, ReportsThatTheFileIsGoneWhenItsEtagChanged)
{
    FileRecord file = Record();
    file.etag = "\"another\"";
    ExpectFailure(Fetch(file), EErrorCode::eFileGone);
}

TEST_F(DownloadsTest, RefusesNamesThatCouldLeaveTheFolder)
{
    FileRecord file = Record();
    const int before = service.Count("");
    for (const std::wstring& name :
         {std::wstring(), std::wstring(L"."), std::wstring(L".."), std::wstring(L"../a.zip"),
          std::wstring(L"/etc/passwd"), std::wstring(L"a\0.zip", 6)}) {
        file.name = name;
        ExpectFailure(Fetch(file), EErrorCode::eUnusableServiceName);
    }
    EXPECT_EQ(service.Count(""), before) << "no request was sent";
}

TEST_F(DownloadsTest, SavesUnderANameOfTheLargestLength)
{
    const FileRecord file = Record();
    std::string name;
    while (name.size() + 2 <=
           255) // two bytes a character, so a cut name may end inside a character
        name += "\xC3\xA4";
    EXPECT_FALSE(downloads.Fetch(call, file, folder.Path(name)).IsSet());
    EXPECT_EQ(folder.Read(name), kContent);
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(DownloadsTest, RefusesPathsThatCannotBeWritten)
{
    const FileRecord file = Record();
    const auto code = [&](const std::string& path) {
        return downloads.Fetch(call, file, path).code;
    };
    EXPECT_EQ(code(folder.Path(std::string(256, 'a'))), EErrorCode::eUnusableFileName);
    EXPECT_EQ(code(folder.Path("")), EErrorCode::eUnusableFileName);
    EXPECT_EQ(code(folder.Path("no/such/folder.zip")), EErrorCode::eCannotWrite);
    std::filesystem::create_directory(folder.Path("taken"));
    EXPECT_EQ(code(folder.Path("taken")), EErrorCode::eUnusableFileName);
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(DownloadsTest, LeavesNothingOnAFullDisk)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const FileRecord file = Record();
    const rlimit tiny{8, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tiny); // a limit of the file size replaces a full disk
    const Failure failure = Fetch(file);
    setrlimit(RLIMIT_FSIZE, &before);
    ExpectFailure(failure, EErrorCode::eDiskFull);
}

TEST_F(DownloadsTest, LeavesNothingWhenAborted)
{
    const FileRecord file = Record();
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 10));
    call.abort = [asked = 0]() mutable { return ++asked > 1; };
    ExpectFailure(Fetch(file), EErrorCode::eAborted);
}

} // namespace kesdk::impl
