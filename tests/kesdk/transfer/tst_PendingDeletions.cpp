// Pending deletions of wrong copies on the service. No upload takes such a copy for its result.
#include "base/DigestText.h"
#include "support/UploadFixture.h"
#include "transfer/JournalFile.h"

#include <algorithm>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;
using test::Fault;
using test::SentRequest;

class PendingDeletionsTest : public UploadsTest
{
protected:
    PendingDeletionsTest()
    {
        call.account = "https://service.test\n7";
        std::filesystem::create_directory(state.Path("own"));
    }

    static std::string EtagOf(const std::string& content)
    {
        return '"' + HexDigestOf(content) + '"';
    }
    static std::vector<FileRecord> CopiesOf(const Ids& ids, const std::string& content)
    {
        std::vector<FileRecord> copies(ids.size());
        for (std::size_t i = 0; i < ids.size(); ++i) {
            copies[i].id = ids[i];
            copies[i].sha256Hex = HexDigestOf(content);
        }
        return copies;
    }
    // Reads the journals from the disk, as a restarted console does.
    PendingDeletions NewPendingDeletions() const
    {
        return PendingDeletions(state.Path("own"), wallTimeS);
    }
    Result<std::vector<FileRecord>> SendAsNewProcess()
    {
        Uploads process{api, timing, state.Path("own"), wallTimeS};
        return SendBy(process, path, {inbox});
    }
    std::size_t Journals(const std::string& end) const
    {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(state.Path("own")))
            count += entry.path().extension() == end ? 1u : 0u;
        return count;
    }
    void DateJournal(std::int64_t writtenS) const
    {
        const auto journal = std::filesystem::directory_iterator(state.Path("own"))->path();
        state.Date("own/" + journal.filename().string(), writtenS);
    }
    // The service stores the file, but its answer is lost. Returns the id of the stored file.
    // The upload's journal is still on the disk.
    std::int64_t CommitWithoutAnswer()
    {
        service.FailNext(Drop("POST /v1/uploads", true));
        AbortAfter("POST /v1/uploads", 1);
        EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eAborted);
        call.abort = nullptr;
        EXPECT_EQ(Journals(".upload"), 1u);
        return service.FileIds(inbox).at(0);
    }
    // How long the deletions take on a link without answers. After `ending` the call is to end.
    Clock::Time::duration TimeOfDeletionsWithoutAnswers(Clock::Time::duration ending, int& requests)
    {
        const Clock::Time begin = time->Now();
        test::FakeTransport silent([&](const HttpRequest& request, const AbortCheck& abort) {
            ++requests;
            const Clock::Time sent = time->Now();
            while (!IsAborted(abort) && time->Now() - sent < request.limits.total)
                time->Advance(100ms);
            return test::Drop(EErrorCode::eTimeout);
        });
        RetryingClient silentHttp{silent, timing};
        ApiClient silentApi{silentHttp};
        call.abort = [&] { return time->Now() - begin >= ending; };
        PendingDeletions deletions = NewPendingDeletions();
        deletions.Add(call, CopiesOf({501, 502}, "x"));
        deletions.Run(silentApi, timing, call);
        EXPECT_EQ(Journals(".discard"), 2u) << "both deletions are still pending";
        return time->Now() - begin;
    }

    kelvo::test::TempFolder state;
};

} // namespace

TEST_F(PendingDeletionsTest, IgnoresAResultWithAPendingDeletion)
{
    const std::int64_t queuedCopy = CommitWithoutAnswer();
    NewPendingDeletions().Add(call, CopiesOf({queuedCopy}, kContent));
    const auto sent = SendAsNewProcess();
    ExpectStored(sent, kContent);
    EXPECT_NE(sent.value.at(0).id, queuedCopy);
    EXPECT_EQ(Journals(".discard"), 0u);
}

TEST_F(PendingDeletionsTest, IgnoresAResultWhoseDeletionFails)
{
    const std::int64_t queuedCopy = CommitWithoutAnswer();
    NewPendingDeletions().Add(call, CopiesOf({queuedCopy}, kContent));
    for (int i = 0; i < 3; ++i)
        service.FailNext(Drop("DELETE /v1/resources/"));
    const auto sent = SendAsNewProcess();
    ASSERT_TRUE(sent) << sent.failure.detail;
    EXPECT_NE(sent.value.at(0).id, queuedCopy);
    EXPECT_EQ(service.Content(sent.value[0].id), kContent);
    EXPECT_EQ(service.FileIds(inbox), Ids{sent.value[0].id})
        << "the wrong copy is deleted after the second answer";
}

TEST_F(PendingDeletionsTest, IgnoresAResultWithAPendingDeletionWithoutAJournal)
{
    const std::int64_t queuedCopy = CommitWithoutAnswer();
    std::filesystem::remove(std::filesystem::directory_iterator(state.Path("own"))->path());
    NewPendingDeletions().Add(call, CopiesOf({queuedCopy}, kContent));
    const auto sent = SendAsNewProcess();
    ExpectStored(sent, kContent);
    EXPECT_NE(sent.value.at(0).id, queuedCopy);
}

TEST_F(PendingDeletionsTest, GivesUpWhenTheServiceOnlyRepeatsAResultWithAPendingDeletion)
{
    const std::int64_t earlier = service.AddFile(inbox, "report.txt", kContent);
    for (int i = 0; i < 50; ++i) {
        service.FailNext(Answer("POST /v1/uploads", EarlierResult(earlier)));
        service.FailNext(Drop("DELETE"));
    }
    NewPendingDeletions().Add(call, CopiesOf({earlier}, kContent));
    EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eBadAnswer);
    EXPECT_LE(service.Count("POST /v1/uploads"), 6);
}

TEST_F(PendingDeletionsTest, RemovesTheUploadJournalBeforeItDeletesTheCopy)
{
    int deletions = 0;
    SpoilTheNextUpload();
    service.onRequest = [&, spoil = service.onRequest](const std::string& line) {
        spoil(line);
        if (line.rfind("DELETE", 0) != 0)
            return;
        ++deletions;
        EXPECT_EQ(Journals(".discard"), 1u);
        EXPECT_EQ(Journals(".upload"), 0u);
    };
    ExpectFailure(SendAsNewProcess(), EErrorCode::eFileChanged);
    EXPECT_EQ(deletions, 1);
}

TEST_F(PendingDeletionsTest, GivesUpAfterFifteenSeconds)
{
    int requests = 0;
    EXPECT_EQ(TimeOfDeletionsWithoutAnswers(1h, requests), 15s);
    EXPECT_EQ(requests, 1);
}

TEST_F(PendingDeletionsTest, GivesUpTwoSecondsAfterTheCallIsAborted)
{
    int requests = 0;
    EXPECT_EQ(TimeOfDeletionsWithoutAnswers(3s, requests), 5s);
    EXPECT_EQ(requests, 1);
}

TEST_F(PendingDeletionsTest, GivesUpAfterFifteenSecondsAlsoWhenTheCallIsAbortedLate)
{
    int requests = 0;
    EXPECT_EQ(TimeOfDeletionsWithoutAnswers(14s, requests), 15s);
}

TEST_F(PendingDeletionsTest, DeletesOnlyIfTheCopyHasTheKnownDigest)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    NewPendingDeletions().Add(call, CopiesOf({file}, "a copy"));
    NewPendingDeletions().Run(api, timing, call);
    const SentRequest last = service.Requests().back();
    EXPECT_EQ(last.Header("If-Match"), EtagOf("a copy"));
    EXPECT_TRUE(service.FileIds(inbox).empty());
    EXPECT_EQ(Journals(".discard"), 0u);
}

TEST_F(PendingDeletionsTest, DeletesAWrongCopyByTheDigestOfTheCopy)
{
    SpoilTheNextUpload();
    ExpectFailure(SendAsNewProcess(), EErrorCode::eFileChanged);
    std::string corrupt = kContent;
    corrupt[0] ^= 1;
    EXPECT_EQ(service.Requests().back().Header("If-Match"), EtagOf(corrupt));
}

TEST_F(PendingDeletionsTest, EndsTheDeletionWhenTheCopyHasChangedOrIsGone)
{
    const std::int64_t other = service.AddFile(inbox, "report.txt", "something else");
    const std::int64_t gone = service.AddFile(inbox, "gone.txt", "a copy");
    service.RemoveFile(gone);
    NewPendingDeletions().Add(call, CopiesOf({other, gone}, "a copy"));
    NewPendingDeletions().Run(api, timing, call);
    EXPECT_EQ(service.Count("DELETE /v1/resources/"), 2);
    EXPECT_EQ(service.FileIds(inbox), Ids{other});
    EXPECT_EQ(Journals(".discard"), 0u);
}

// The settings may name another service, whose files have the same ids.
TEST_F(PendingDeletionsTest, AsksOnlyTheServiceThatHasTheCopy)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    NewPendingDeletions().Add(call, CopiesOf({file}, "a copy"));
    ApiCall other = call;
    other.account = "https://other.test\n7";
    NewPendingDeletions().Run(api, timing, other);
    EXPECT_EQ(service.Count("DELETE"), 0);
    EXPECT_FALSE(NewPendingDeletions().Contains(other, CopiesOf({file}, "a copy")));
    EXPECT_TRUE(NewPendingDeletions().Contains(call, CopiesOf({file}, "a copy")));
    NewPendingDeletions().Run(api, timing, call);
    EXPECT_TRUE(service.FileIds(inbox).empty());
    EXPECT_EQ(Journals(".discard"), 0u);
}

TEST_F(PendingDeletionsTest, AsksAnyServiceAboutACopyInAJournalWithoutAnAddress)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    const std::string text = R"({"account":"7","etag":"\")" + EtagOf("a copy").substr(1, 64) +
                             R"(\"","file":)" + std::to_string(file) + "}";
    ASSERT_TRUE(WriteJournal(state.Path("own/old.discard"), text));
    EXPECT_TRUE(NewPendingDeletions().Contains(call, CopiesOf({file}, "a copy")));
    NewPendingDeletions().Run(api, timing, call);
    EXPECT_TRUE(service.FileIds(inbox).empty());
    EXPECT_EQ(Journals(".discard"), 0u);
}

TEST_F(PendingDeletionsTest, ForgetsADeletionAfterThirtyDays)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    NewPendingDeletions().Add(call, CopiesOf({file}, "a copy"));
    PendingDeletions running = NewPendingDeletions();
    EXPECT_TRUE(running.Contains(call, CopiesOf({file}, "a copy")));
    const std::int64_t nowS = test::NextMonthS();
    wallTimeS = [nowS] { return nowS; };
    DateJournal(nowS - 30 * kDayS - test::kHourS);
    EXPECT_FALSE(NewPendingDeletions().Contains(call, CopiesOf({file}, "a copy")));
    EXPECT_EQ(Journals(".discard"), 0u);
    EXPECT_EQ(service.FileIds(inbox), Ids{file});
}

TEST_F(PendingDeletionsTest, ForgetsADeletionAfterThirtyDaysInOneRun)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    const std::int64_t nowS = test::NextMonthS();
    PendingDeletions deletions(state.Path("own"), [nowS] { return nowS; });
    deletions.Add(call, CopiesOf({file}, "a copy"));
    DateJournal(nowS - 30 * kDayS - test::kHourS);
    deletions.Run(api, timing, call);
    EXPECT_EQ(service.Count("DELETE"), 0);
    EXPECT_FALSE(deletions.Contains(call, CopiesOf({file}, "a copy")));
    EXPECT_EQ(Journals(".discard"), 0u);
}

TEST_F(PendingDeletionsTest, DeletesACopyWithinThirtyDays)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    NewPendingDeletions().Add(call, CopiesOf({file}, "a copy"));
    const std::int64_t nowS = test::NextMonthS();
    wallTimeS = [nowS] { return nowS; };
    DateJournal(nowS - 30 * kDayS + test::kHourS);
    NewPendingDeletions().Run(api, timing, call);
    EXPECT_TRUE(service.FileIds(inbox).empty());
}

TEST_F(PendingDeletionsTest, KeepsADeletionWhileTheClockIsWrong)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    NewPendingDeletions().Add(call, CopiesOf({file}, "a copy"));
    wallTimeS = [] { return std::int64_t{0}; };
    EXPECT_TRUE(NewPendingDeletions().Contains(call, CopiesOf({file}, "a copy")));
}

TEST_F(PendingDeletionsTest, RemovesOldTemporaryFilesOfJournals)
{
    const std::int64_t nowS = test::NextMonthS();
    wallTimeS = [nowS] { return nowS; };
    for (const char* name : {"old.discard.new", "young.discard.new", "readme"})
        state.Write(std::string("own/") + name, "torn by a crash");
    state.Date("own/old.discard.new", nowS - 30 * kDayS - test::kHourS);
    state.Date("own/young.discard.new", nowS - 30 * kDayS + test::kHourS);
    state.Date("own/readme", nowS - 30 * kDayS - test::kHourS);
    NewPendingDeletions().Run(api, timing, call);
    EXPECT_FALSE(state.Has("own/old.discard.new"));
    EXPECT_TRUE(state.Has("own/young.discard.new"));
    EXPECT_TRUE(state.Has("own/readme"));
}

} // namespace kesdk::impl
