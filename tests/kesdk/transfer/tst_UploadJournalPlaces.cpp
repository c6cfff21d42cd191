// Where an upload's journal lies, how long it stays, and journals of an earlier version.
#include "base/DigestText.h"
#include "support/UploadJournalFixture.h"
#include "transfer/JournalFile.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace kesdk::impl {

namespace {

using test::Fault;

} // namespace

// A kill between the answer and the removal of the local file.
TEST_F(UploadJournalTest, StoresNoSecondFileWhenTheConsoleIsKilledBeforeItRemovesTheFile)
{
    ExpectStored(SendAsNewProcess(), kContent);
    ExpectStored(SendAsNewProcess(), kContent);
    EXPECT_EQ(service.Count("PATCH"), 0);
}

TEST_F(UploadJournalTest, SendsAFileAgainInTheSameProcess)
{
    Uploads process{api, timing, state.Path("own"), wallTimeS};
    EXPECT_TRUE(SendBy(process, path, {inbox}));
    EXPECT_TRUE(SendBy(process, path, {inbox}));
    EXPECT_EQ(service.FileIds(inbox).size(), 2u);
    EXPECT_EQ(JournalCount(), 1u);
}

TEST_F(UploadJournalTest, RemovesTheJournalOnceTheFileIsGone)
{
    Uploads process{api, timing, state.Path("own"), wallTimeS};
    EXPECT_TRUE(SendBy(process, path, {inbox}));
    std::filesystem::remove(path);
    SendGone(process, path);
    EXPECT_EQ(JournalCount(), 0u);
}

// On a dead medium the check may block for ever.
TEST_F(UploadJournalTest, ChecksForRemovedFilesOnlyInTheFolderOfTheNextUpload)
{
    {
        Uploads process{api, timing, state.Path("own"), wallTimeS};
        EXPECT_TRUE(SendBy(process, path, {inbox}));
        std::filesystem::remove(path);
        SendGone(process, state.Path("other.txt"));
        EXPECT_EQ(JournalCount(), 1u);
    }
    EXPECT_EQ(JournalCount(), 1u);
}

// The folder on which a memory stick is mounted exists also without the stick.
TEST_F(UploadJournalTest, KeepsTheJournalOfAFileWhoseMediumIsAway)
{
    BeginAndStop();
    const std::filesystem::path away = state.Path("away");
    std::filesystem::rename(folder.Path(), away);
    std::filesystem::create_directory(folder.Path());
    {
        const Uploads process{api, timing, state.Path("own"), wallTimeS};
    }
    std::filesystem::remove(folder.Path());
    std::filesystem::rename(away, folder.Path());
    ExpectStored(SendAsNewProcess(), kContent);
    EXPECT_EQ(LastContent(), kContent.substr(30));
}

// The stick is pulled after the upload, before the console can remove the file.
TEST_F(UploadJournalTest, KeepsTheJournalOfASentFileWhoseMediumIsAway)
{
    const std::string link = state.Path("stick");
    const auto pointTo = [&](const std::string& target) {
        std::filesystem::remove(link);
        std::filesystem::create_symlink(target, link);
    };
    pointTo(folder.Path());
    for (const char* other : {"/proc/self", "/none"}) { // another device, or no folder
        Uploads process{api, timing, state.Path("own"), wallTimeS};
        EXPECT_TRUE(SendBy(process, link + "/report.txt", {inbox}));
        pointTo(other);
        SendGone(process, link + "/other.txt");
        EXPECT_EQ(JournalCount(), 1u) << other;
        pointTo(folder.Path());
    }
    EXPECT_EQ(service.FileIds(inbox).size(), 1u);
}

// A console with too many open files cannot read the journal, which is there.
TEST_F(UploadJournalTest, KeepsAJournalThatCannotBeReadNow)
{
    BeginAndStop();
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    Uploads process{api, timing, state.Path("own"), wallTimeS};
    const int lowestFree = ::dup(STDERR_FILENO);
    ::close(lowestFree);
    rlimit oneMore = before;
    oneMore.rlim_cur = static_cast<rlim_t>(lowestFree) + 1; // for the file itself
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &oneMore), 0);
    const auto sent = process.Send(call, path, {inbox});
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(sent.failure.code, EErrorCode::eInternal);
    ExpectStored(SendAsNewProcess(), kContent);
    EXPECT_EQ(LastContent(), kContent.substr(30));
}

// As a memory stick that is not plugged in.
TEST_F(UploadJournalTest, KeepsTheJournalOfAFileWhoseFolderIsGone)
{
    BeginAndStop();
    const std::filesystem::path away = state.Path("away");
    std::filesystem::rename(folder.Path(), away);
    {
        const Uploads process{api, timing, state.Path("own"), wallTimeS};
    }
    std::filesystem::rename(away, folder.Path());
    ExpectStored(SendAsNewProcess(), kContent);
    EXPECT_EQ(LastContent(), kContent.substr(30));
}

TEST_F(UploadJournalTest, ResumesFromAJournalBesideTheFile)
{
    state.Write("file", "");
    const auto send = [this] {
        Uploads process{api, timing, state.Path("file/own"), wallTimeS};
        return SendBy(process, path, {inbox});
    };
    service.FailNext(Cut("POST /v1/uploads", Fault::EKind::eCutRequest, 20));
    AbortAfter("POST /v1/uploads", 1);
    EXPECT_EQ(send().failure.code, EErrorCode::eAborted);
    EXPECT_EQ(folder.EntryCount(), 2u) << "the file and its journal";
    call.abort = nullptr;
    ExpectStored(send(), kContent);
    EXPECT_EQ(LastContent(), kContent.substr(20));
    Uploads process{api, timing, state.Path("file/own"), wallTimeS};
    EXPECT_TRUE(SendBy(process, path, {inbox}));
    EXPECT_EQ(service.FileIds(inbox).size(), 1u) << "the journal is of an earlier process";
    std::filesystem::remove(path);
    SendGone(process, path);
    EXPECT_EQ(folder.EntryCount(), 0u);
}

TEST_F(UploadJournalTest, RemovesStaleJournalsBesideTheFileAndNothingElse)
{
    const std::string digest(64, 'a');
    const std::string mine = "." + digest + ".upload.new";
    const std::string others[] = {"mine.upload", ".mine.upload", digest + ".upload",
                                  "." + digest + ".uploads", "." + digest + ".upload"};
    for (const std::string& name : others)
        folder.Write(name, "the operator's");
    folder.Write(mine, "kesdk jou");
    const std::int64_t nowS = test::NextMonthS();
    for (const std::string& name : others)
        folder.Date(name, nowS - test::kWeekS - test::kHourS);
    folder.Date(mine, nowS - test::kWeekS - test::kHourS);
    wallTimeS = [nowS] { return nowS; };
    ExpectStored(SendAsNewProcess(), kContent);
    for (const std::string& name : others)
        EXPECT_TRUE(folder.Has(name)) << name;
    EXPECT_FALSE(folder.Has(mine));
}

TEST_F(UploadJournalTest, RemovesStaleJournalsWhenTheClockIsRightAgain)
{
    const std::string stale = "." + std::string(64, 'a') + ".upload.new";
    const std::int64_t nowS = test::NextMonthS();
    folder.Write(stale, "kesdk jou");
    folder.Date(stale, nowS - test::kWeekS - test::kHourS);
    wallTimeS = [&] { return service.Count("POST /v1/uploads") == 0 ? 0 : nowS; };
    Uploads process{api, timing, state.Path("own"), wallTimeS};
    EXPECT_TRUE(SendBy(process, path, {inbox}));
    EXPECT_TRUE(folder.Has(stale)) << "the clock was wrong";
    EXPECT_TRUE(SendBy(process, path, {inbox}));
    EXPECT_FALSE(folder.Has(stale));
}

// The journal of the upload itself has the oldest date here.
TEST_F(UploadJournalTest, LimitsTheNumberOfJournalsWhileTheClockIsWrong)
{
    wallTimeS = [] { return std::int64_t{3600}; };
    state.Write("file", "");
    for (const std::string& journals : {state.Path("own"), state.Path("file/own")}) {
        SCOPED_TRACE(journals);
        const bool isBeside = journals != state.Path("own");
        const std::filesystem::path place =
            isBeside ? folder.Path() : std::filesystem::path(journals);
        std::filesystem::create_directory(place);
        const auto name = [isBeside](int number) {
            const std::string digits = std::to_string(number);
            return (isBeside ? "." : "") + std::string(64 - digits.size(), '0') + digits +
                   ".upload";
        };
        for (int number = 0; number <= 1000; ++number) {
            const std::string other = place / name(number);
            ASSERT_TRUE(WriteJournal(other, "{}", ESync::eNo));
            const timespec later = {test::NextMonthS() + number, 0};
            const timespec times[] = {later, later};
            ASSERT_EQ(::utimensat(AT_FDCWD, other.c_str(), times, 0), 0);
        }
        Uploads process{api, timing, journals, wallTimeS};
        EXPECT_TRUE(SendBy(process, path, {inbox}));
        EXPECT_FALSE(std::filesystem::exists(place / name(0)));
        EXPECT_TRUE(std::filesystem::exists(place / name(1)));
        Uploads next{api, timing, journals, wallTimeS};
        const std::size_t before = service.FileIds(inbox).size();
        EXPECT_TRUE(SendBy(next, path, {inbox}));
        EXPECT_EQ(service.FileIds(inbox).size(), before) << "the upload's own journal stays";
    }
}

// An earlier version of the library named the journal also after the service's address.
TEST_F(UploadJournalTest, IgnoresTheJournalOfAnEarlierVersion)
{
    BeginAndStop();
    std::string text = ReadJournal(Journal()).value;
    const std::string account = R"("account":"7")";
    ASSERT_NE(text.find(account), std::string::npos);
    text.replace(text.find(account), account.size(), R"("account":"https://service.test\n7")");
    std::filesystem::remove(Journal());
    const std::string name = call.account + '\n' + path + '\n' + std::to_string(inbox);
    ASSERT_TRUE(WriteJournal(state.Path("own/" + HexDigestOf(name) + ".upload"), text));
    ExpectStored(SendAsNewProcess(), kContent);
    EXPECT_EQ(LastContent(), kContent);
    EXPECT_EQ(JournalCount(), 2u) << "the old journal stays for a week";
}

TEST_F(UploadJournalTest, SendsEachFileUnderAKeyOfItsOwn)
{
    const std::string other = folder.Write("other.txt", kContent);
    EXPECT_TRUE(Send());
    EXPECT_TRUE(SendBy(uploads, other, {inbox}));
    const auto requests = service.Requests();
    const std::string key = requests.back().Header("Idempotency-Key");
    EXPECT_EQ(key.size(), 64u);
    EXPECT_NE(key, requests[requests.size() - 2].Header("Idempotency-Key"));
}

} // namespace kesdk::impl
