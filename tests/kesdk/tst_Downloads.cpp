// Downloads over a link that drops, from a service that errs, onto a disk that may be full.
#include "support/TransferFixture.h"
#include "transfer/Downloads.h"

#include <sys/resource.h>

#include <csignal>

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
        return api.GetResource(call, id).value.file.value_or(FileRecord());
    }
    Failure Fetch(const FileRecord& file)
    {
        return downloads.Fetch(call, file, folder.Path("here.zip"));
    }
    void ExpectWhole(const Failure& failure)
    {
        EXPECT_EQ(failure.code, EErrorCode::eNone) << failure.detail;
        EXPECT_EQ(folder.Read("here.zip"), kContent);
        EXPECT_EQ(folder.EntryCount(), 1u) << "nothing beside it";
    }
    void ExpectNothing(const Failure& failure, EErrorCode code)
    {
        EXPECT_EQ(failure.code, code) << failure.detail;
        EXPECT_EQ(folder.EntryCount(), 0u);
    }

    Downloads downloads{api};
};

} // namespace

TEST_F(DownloadsTest, IsOneRequest)
{
    const FileRecord file = Record();
    ExpectWhole(Fetch(file));
    EXPECT_EQ(service.Count("GET /v1/resources/" + std::to_string(file.id) + "/content"), 1);
    EXPECT_EQ(service.Requests().back().Header("If-Match"), file.etag);
    EXPECT_EQ(service.Requests().back().Header("Range"), "");
}

TEST_F(DownloadsTest, FetchesAnEmptyFile)
{
    const std::int64_t id = service.AddFile(inbox, "empty.zip", "");
    const FileRecord file = *api.GetResource(call, id).value.file;
    EXPECT_FALSE(Fetch(file).IsSet());
    EXPECT_TRUE(folder.Has("here.zip"));
    EXPECT_EQ(folder.Read("here.zip"), "");
}

TEST_F(DownloadsTest, ReplacesWhatIsThere)
{
    folder.Write("here.zip", "old");
    folder.Write("here.zip.part", "left by a crash, and longer than what is fetched: " + kContent);
    ExpectWhole(Fetch(Record()));
}

TEST_F(DownloadsTest, ResumesWhereverItWasCut)
{
    const FileRecord file = Record();
    for (std::size_t at = 0; at < kContent.size(); ++at) {
        service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, at));
        ExpectWhole(Fetch(file));
        const std::string range = at == 0 ? "" : "bytes=" + std::to_string(at) + "-";
        EXPECT_EQ(service.Requests().back().Header("Range"), range);
        EXPECT_EQ(service.Requests().back().Header("If-Range"), at == 0 ? "" : file.etag);
    }
}

TEST_F(DownloadsTest, ResumesAgainAndAgainAsLongAsItAdvances)
{
    const FileRecord file = Record();
    for (int i = 0; i < 15; ++i)
        service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 3));
    ExpectWhole(Fetch(file));
}

TEST_F(DownloadsTest, GoesOnWhereNothingMovedForTooLong)
{
    const FileRecord file = Record();
    service.FailNext(Stall("GET /v1/resources/", Fault::EKind::eCutResponse, 10));
    service.FailNext(Stall("GET /v1/resources/", Fault::EKind::eCutResponse, 0));
    service.FailNext(Stall("GET /v1/resources/", Fault::EKind::eCutResponse, 20));
    ExpectWhole(Fetch(file));
    EXPECT_EQ(service.Requests().back().Header("Range"), "bytes=30-");
    ExpectContentLimits("GET /v1/resources/" + std::to_string(file.id) + "/content");
}

TEST_F(DownloadsTest, WaitsForABusyServiceAsLongAsItAsks)
{
    const FileRecord file = Record();
    const std::string content = "GET /v1/resources/" + std::to_string(file.id) + "/content";
    service.FailNext(Answer(content, Busy(503, "11")));
    service.FailNext(Cut(content, Fault::EKind::eCutResponse, 10));
    service.FailNext(Answer(content, Busy(429, "Thu, 01 Jan 2026 10:00:22 GMT")));
    ExpectWhole(Fetch(file));
    ASSERT_EQ(time->Sleeps().size(), 3u);
    EXPECT_EQ(time->Sleeps()[0], std::chrono::seconds(11));
    EXPECT_EQ(time->Sleeps()[2], std::chrono::seconds(22));
    EXPECT_EQ(service.Requests().back().Header("Range"), "bytes=10-");
}

TEST_F(DownloadsTest, DoesNotWaitForAServiceThatAsksForTooMuch)
{
    const FileRecord file = Record();
    service.FailNext(Answer("GET /v1/resources/", Busy(503, "301")));
    const Failure failure = Fetch(file);
    ExpectNothing(failure, EErrorCode::eServiceBusy);
    EXPECT_EQ(failure.retryAfter, std::chrono::seconds(301)) << "for the operator";
    EXPECT_TRUE(time->Sleeps().empty());
}

TEST_F(DownloadsTest, BeginsAnewWhenTheServiceDoesNotResume)
{
    const FileRecord file = Record();
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 10));
    service.FailNext(Answer("GET /v1/resources/", test::Reply(200, kContent)));
    ExpectWhole(Fetch(file));
}

TEST_F(DownloadsTest, RefusesAnotherRangeThanItAskedFor)
{
    const FileRecord file = Record();
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 10));
    service.FailNext(
        Answer("GET /v1/resources/",
               test::Reply(206, kContent.substr(12), {{"Content-Range", "bytes 12-57/58"}})));
    ExpectNothing(Fetch(file), EErrorCode::eDamaged);
}

TEST_F(DownloadsTest, GivesUpWhenNothingGotThroughForFiveMinutes)
{
    const FileRecord file = Record();
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 10));
    for (int i = 0; i < 50; ++i)
        service.FailNext(Drop("GET /v1/resources/"));
    const Clock::Time begin = time->Now();
    ExpectNothing(Fetch(file), EErrorCode::eNoProgress);
    EXPECT_GE(time->Now() - begin, std::chrono::minutes(5));
    EXPECT_LT(time->Now() - begin, std::chrono::minutes(5) + std::chrono::seconds(8));
}

TEST_F(DownloadsTest, GivesTheNextOneLittleTimeOnADeadLink)
{
    const FileRecord file = Record();
    service.SetOnline(false);
    ExpectNothing(Fetch(file), EErrorCode::eNoProgress);
    Clock::Time begin = time->Now();
    for (int i = 0; i < 20; ++i)
        ExpectNothing(Fetch(file), EErrorCode::eNoProgress);
    EXPECT_LT(time->Now() - begin, std::chrono::minutes(20));

    service.SetOnline(true);
    EXPECT_FALSE(Fetch(file).IsSet());
    service.SetOnline(false);
    begin = time->Now();
    EXPECT_EQ(Fetch(file).code, EErrorCode::eNoProgress);
    EXPECT_GE(time->Now() - begin, std::chrono::minutes(5)) << "all of it again";
}

TEST_F(DownloadsTest, GivesUpWhatOnlyComesAgainAndAgain)
{
    const FileRecord file = Record();
    const std::string half = kContent.substr(0, 20);
    service.onRequest = [&](const std::string&) {
        service.FailNext(Answer("GET /v1/resources/", test::Reply(200, half)));
    };
    ExpectNothing(Fetch(file), EErrorCode::eNoProgress);
}

TEST_F(DownloadsTest, KeepsNothingThatIsDamaged)
{
    const FileRecord file = Record();
    service.Corrupt(file.id);
    ExpectNothing(Fetch(file), EErrorCode::eDamaged);
}

TEST_F(DownloadsTest, KeepsNothingThatIsTooLong)
{
    const FileRecord file = Record();
    service.FailNext(Answer("GET /v1/resources/", test::Reply(200, kContent + "and more")));
    ExpectNothing(Fetch(file), EErrorCode::eDamaged);
}

TEST_F(DownloadsTest, DoesNotTouchWhatIsThereWhenItFails)
{
    folder.Write("here.zip", "old");
    const FileRecord file = Record();
    service.Corrupt(file.id);
    EXPECT_TRUE(Fetch(file).IsSet());
    EXPECT_EQ(folder.Read("here.zip"), "old");
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(DownloadsTest, SaysThatTheFileIsGone)
{
    const FileRecord file = Record();
    service.RemoveFile(file.id);
    ExpectNothing(Fetch(file), EErrorCode::eFileGone);
}

TEST_F(DownloadsTest, SaysThatTheFileIsGoneWhenItIsAnother)
{
    FileRecord file = Record();
    file.etag = "\"another\"";
    ExpectNothing(Fetch(file), EErrorCode::eFileGone);
}

TEST_F(DownloadsTest, RefusesNamesThatCouldLeaveTheFolder)
{
    FileRecord file = Record();
    const int before = service.Count("");
    for (const std::wstring& name :
         {std::wstring(), std::wstring(L"."), std::wstring(L".."), std::wstring(L"../a.zip"),
          std::wstring(L"/etc/passwd"), std::wstring(L"a\0.zip", 6)}) {
        file.name = name;
        ExpectNothing(Fetch(file), EErrorCode::eUnusableServiceName);
    }
    EXPECT_EQ(service.Count(""), before) << "nothing was asked for";
}

TEST_F(DownloadsTest, SavesUnderTheLongestName)
{
    const FileRecord file = Record();
    std::string name;
    while (name.size() + 2 <= 255) // two bytes a character, so that a cut may fall into one
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
    EXPECT_EQ(code(folder.Path() + "/"), EErrorCode::eUnusableFileName);
    EXPECT_EQ(code(folder.Path("no/such/folder.zip")), EErrorCode::eCannotWrite);
    std::filesystem::create_directory(folder.Path("taken"));
    EXPECT_EQ(code(folder.Path("taken")), EErrorCode::eUnusableFileName);
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(DownloadsTest, LeavesNothingOnADiskThatIsFull)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const FileRecord file = Record();
    const rlimit tiny{8, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tiny); // the nearest to a full disk that needs no disk
    const Failure failure = Fetch(file);
    setrlimit(RLIMIT_FSIZE, &before);
    ExpectNothing(failure, EErrorCode::eDiskFull);
}

TEST_F(DownloadsTest, AbortLeavesNothing)
{
    const FileRecord file = Record();
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 10));
    call.abort = [asked = 0]() mutable { return ++asked > 1; };
    ExpectNothing(Fetch(file), EErrorCode::eAborted);
}

} // namespace kesdk::impl
