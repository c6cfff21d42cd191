// Downloads that a later call or a restarted console goes on with, and those that it must not.
#include "support/TransferFixture.h"
#include "transfer/Downloads.h"

namespace kesdk::impl {

namespace {

using test::Fault;

std::string LargeContent()
{
    std::string content(100'000, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 31 + i / 253);
    return content;
}

constexpr std::size_t kCutAt = 70'000;

class DownloadResume : public test::TransferFixture
{
protected:
    DownloadResume() { call.account = "https://service.test\n7"; }

    Failure Fetch() { return downloads.Fetch(call, file, folder.Path("here.zip")); }
    // Leaves the first 70,000 bytes.
    void BeginAndStop()
    {
        service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, kCutAt));
        StopBehind("GET /v1/resources/", service.Count("GET /v1/resources/") + 1);
        EXPECT_EQ(Fetch().code, EErrorCode::eAborted);
        call.abort = nullptr;
        ASSERT_EQ(folder.Read("here.zip.part"), content.substr(0, kCutAt));
        EXPECT_FALSE(folder.Has("here.zip"));
    }
    // Whole, nothing beside it, and fetched from there.
    void ExpectWhole(std::size_t fromByte)
    {
        const Failure failure = Fetch();
        EXPECT_EQ(failure.code, EErrorCode::eNone) << failure.detail;
        EXPECT_TRUE(folder.Read("here.zip") == content);
        EXPECT_EQ(folder.EntryCount(), 1u);
        const test::SentRequest last = service.Requests().back();
        const std::string range = "bytes=" + std::to_string(fromByte) + "-";
        EXPECT_EQ(last.Header("Range"), fromByte > 0 ? range : "");
        EXPECT_EQ(last.Header("If-Range"), fromByte > 0 ? file.etag : "");
    }

    const std::string content = LargeContent();
    const std::int64_t id = service.AddFile(inbox, "line.zip", content);
    FileRecord file = *api.GetResource(call, id).value.file;
    Downloads downloads{api};
};

} // namespace

TEST_F(DownloadResume, GoesOnBehindWhatIsThere)
{
    BeginAndStop();
    ExpectWhole(kCutAt);
}

TEST_F(DownloadResume, GoesOnWithWhatAKilledProcessLeft)
{
    BeginAndStop();
    std::filesystem::resize_file(folder.Path("here.zip.part"), 50'000);
    ExpectWhole(50'000);
}

TEST_F(DownloadResume, GoesOnAfterTheLinkWasGivenUp)
{
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, kCutAt));
    for (int i = 0; i < 50; ++i)
        service.FailNext(Drop("GET /v1/resources/"));
    EXPECT_EQ(Fetch().code, EErrorCode::eNoProgress);
    while (service.Count("GET /v1/resources/") < 52) // the rest of the faults
        api.GetResource(call, id);
    ExpectWhole(kCutAt);
}

TEST_F(DownloadResume, TakesTheNameOfAPartThatIsWhole)
{
    BeginAndStop();
    folder.Write("here.zip.part", content);
    const std::size_t before = service.Requests().size();
    EXPECT_FALSE(Fetch().IsSet());
    EXPECT_TRUE(folder.Read("here.zip") == content);
    EXPECT_EQ(folder.EntryCount(), 1u);
    EXPECT_EQ(service.Requests().size(), before);
}

TEST_F(DownloadResume, APartOfAnotherVersionIsNotGoneOnWith)
{
    BeginAndStop();
    service.RemoveFile(id);
    const std::string other(content.rbegin(), content.rend());
    file = *api.GetResource(call, service.AddFile(inbox, "line.zip", other)).value.file;
    EXPECT_FALSE(Fetch().IsSet());
    EXPECT_TRUE(folder.Read("here.zip") == other);
    EXPECT_EQ(service.Requests().back().Header("Range"), "");
}

TEST_F(DownloadResume, AnotherAccountsPartIsNotGoneOnWith)
{
    for (const char* other : {"https://service.test\n8", "https://other.test\n7", ""}) {
        call.account = "https://service.test\n7";
        BeginAndStop();
        call.account = other;
        ExpectWhole(0);
        std::filesystem::remove(folder.Path("here.zip"));
    }
}

TEST_F(DownloadResume, APartThatTheDiskLostIsFetchedAnew)
{
    BeginAndStop();
    folder.Write("here.zip.part", std::string(kCutAt, '\0')); // as after a loss of power
    ExpectWhole(0);
}

TEST_F(DownloadResume, AJournalWhosePartWasNotMadeYetIsNoHindrance)
{
    BeginAndStop();
    std::filesystem::remove(folder.Path("here.zip.part"));
    ExpectWhole(0);
}

TEST_F(DownloadResume, APartThatCannotBeMadeLeavesNoJournal)
{
    std::filesystem::create_directory(folder.Path("here.zip.part"));
    EXPECT_EQ(Fetch().code, EErrorCode::eCannotWrite);
    EXPECT_EQ(folder.EntryCount(), 1u);
}

TEST_F(DownloadResume, ATornJournalIsWorthNothing)
{
    BeginAndStop();
    const std::string journal = folder.Path("here.zip.part.journal");
    std::filesystem::resize_file(journal, std::filesystem::file_size(journal) - 1);
    ExpectWhole(0);
}

TEST_F(DownloadResume, FollowsNoLinkUnderThePartsName)
{
    BeginAndStop();
    const test::TempFolder elsewhere;
    std::filesystem::rename(folder.Path("here.zip.part"), elsewhere.Path("target"));
    std::filesystem::create_symlink(elsewhere.Path("target"), folder.Path("here.zip.part"));
    ExpectWhole(0);
    EXPECT_EQ(elsewhere.Read("target").size(), kCutAt);
}

TEST_F(DownloadResume, BeginsAnewWhenTheServiceDoesNotResume)
{
    BeginAndStop();
    service.FailNext(Answer("GET /v1/resources/", test::Reply(200, content)));
    EXPECT_FALSE(Fetch().IsSet());
    EXPECT_TRUE(folder.Read("here.zip") == content);
}

TEST_F(DownloadResume, AnAbortWhileThePartIsReadLeavesIt)
{
    BeginAndStop();
    call.abort = [] { return true; };
    EXPECT_EQ(Fetch().code, EErrorCode::eAborted);
    call.abort = nullptr;
    ExpectWhole(kCutAt);
}

TEST_F(DownloadResume, KeepsNothingOfAFileThatIsGone)
{
    BeginAndStop();
    service.RemoveFile(id);
    EXPECT_EQ(Fetch().code, EErrorCode::eFileGone);
    EXPECT_EQ(folder.EntryCount(), 0u);
}

TEST_F(DownloadResume, SaysWhatIsLeftToWhom)
{
    BeginAndStop();
    EXPECT_EQ(folder.EntryCount(), 2u);
    const std::string journal = folder.Read("here.zip.part.journal");
    EXPECT_NE(journal.find(file.sha256Hex), std::string::npos);
    EXPECT_EQ(journal.find(call.token), std::string::npos);
}

TEST_F(DownloadResume, RemovesPartsThatNobodyWentOnWith)
{
    BeginAndStop();
    const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::hours(7 * 24 + 1);
    std::filesystem::last_write_time(folder.Path("here.zip.part.journal"), old);
    folder.Write("mine.part", "not the library's");
    folder.Write("mine.part.journal", "nor this");
    std::filesystem::last_write_time(folder.Path("mine.part.journal"), old);
    EXPECT_FALSE(downloads.Fetch(call, file, folder.Path("other.zip")).IsSet());
    EXPECT_TRUE(folder.Has("other.zip"));
    EXPECT_FALSE(folder.Has("here.zip.part"));
    EXPECT_FALSE(folder.Has("here.zip.part.journal"));
    EXPECT_TRUE(folder.Has("mine.part"));
}

TEST_F(DownloadResume, ASmallFileIsNotWorthAJournal)
{
    file = *api.GetResource(call, service.AddFile(inbox, "small.zip", "small")).value.file;
    service.FailNext(Cut("GET /v1/resources/", Fault::EKind::eCutResponse, 2));
    StopBehind("GET /v1/resources/", service.Count("GET /v1/resources/") + 1);
    EXPECT_EQ(Fetch().code, EErrorCode::eAborted);
    EXPECT_EQ(folder.EntryCount(), 0u);
}

} // namespace kesdk::impl
