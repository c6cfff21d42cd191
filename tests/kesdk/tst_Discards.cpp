// Wrong copies on the service: how they go, and that none is ever taken for a result.
#include "base/DigestText.h"
#include "support/UploadFixture.h"

#include <algorithm>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;
using test::Fault;
using test::SentRequest;

class DiscardsTest : public UploadsTest
{
protected:
    DiscardsTest()
    {
        call.account = "https://service.test\n7";
        std::filesystem::create_directory(state.Path("own"));
    }

    static std::string EtagOf(const std::string& content)
    {
        Sha256 hash;
        hash.Update(content.data(), content.size());
        return '"' + ToHex(hash.Finish()) + '"';
    }
    // Each is what a restarted console has.
    Discards NewDiscards() const { return Discards(state.Path("own"), wallTimeS); }
    Result<std::vector<FileRecord>> SendAsNewProcess()
    {
        Uploads process{api, state.Path("own"), wallTimeS};
        return process.Send(call, path, {inbox});
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
    // The service has all of it, but its answer was lost: the file there, to which the journal
    // leads.
    std::int64_t CommitWithoutAnswer()
    {
        service.FailNext(Drop("POST /v1/uploads", true));
        StopBehind("POST /v1/uploads", 1);
        EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eAborted);
        call.abort = nullptr;
        EXPECT_EQ(Journals(".upload"), 1u);
        return service.FileIds(inbox).at(0);
    }
    // How long it takes where nobody ever answers, if the call shall end after `ending`.
    Clock::Time::duration SettleInSilence(Clock::Time::duration ending, int& requests)
    {
        const Clock::Time begin = time->Now();
        test::FakeTransport silent([&](const HttpRequest& request, const AbortCheck& abort) {
            ++requests;
            const Clock::Time sent = time->Now();
            while (!IsAborted(abort) && time->Now() - sent < request.limits.total)
                time->Advance(100ms);
            return test::Drop(EErrorCode::eTimeout);
        });
        RetryingClient silentHttp{silent, clock, sleeper, jitter};
        ApiClient silentApi{silentHttp};
        call.abort = [&] { return time->Now() - begin >= ending; };
        Discards discards = NewDiscards();
        discards.Owe(call.account, {501, 502}, EtagOf("x"));
        discards.Settle(silentApi, call);
        EXPECT_EQ(Journals(".discard"), 2u) << "they are owed still";
        return time->Now() - begin;
    }

    test::TempFolder state;
    WallClock wallTimeS = RealConsoleFacts().wallTimeS;
};

} // namespace

TEST_F(DiscardsTest, ACopyThatIsToGoIsNotAResult)
{
    const std::int64_t owed = CommitWithoutAnswer();
    NewDiscards().Owe(call.account, {owed}, EtagOf(kContent));
    const auto sent = SendAsNewProcess();
    ExpectKept(sent, kContent);
    EXPECT_NE(sent.value.at(0).id, owed);
    EXPECT_EQ(Journals(".discard"), 0u);
    EXPECT_EQ(Journals(".upload"), 0u);
}

TEST_F(DiscardsTest, ACopyThatIsToGoIsNotAResultAlsoWhenItCannotGoNow)
{
    const std::int64_t owed = CommitWithoutAnswer();
    NewDiscards().Owe(call.account, {owed}, EtagOf(kContent));
    for (int i = 0; i < 3; ++i)
        service.FailNext(Drop("DELETE /v1/resources/"));
    const auto sent = SendAsNewProcess();
    ASSERT_TRUE(sent) << sent.failure.detail;
    EXPECT_NE(sent.value.at(0).id, owed);
    EXPECT_EQ(service.Content(sent.value[0].id), kContent);
    EXPECT_EQ(service.FileIds(inbox), Ids{sent.value[0].id}) << "it went behind the second answer";
}

// The key is computed, so it needs no journal to lead there.
TEST_F(DiscardsTest, ACopyThatIsToGoIsNotAResultAlsoOfItsKeyAlone)
{
    const std::int64_t owed = CommitWithoutAnswer();
    std::filesystem::remove(std::filesystem::directory_iterator(state.Path("own"))->path());
    NewDiscards().Owe(call.account, {owed}, EtagOf(kContent));
    const auto sent = SendAsNewProcess();
    ExpectKept(sent, kContent);
    EXPECT_NE(sent.value.at(0).id, owed);
}

TEST_F(DiscardsTest, AServiceThatGivesNothingElseIsGivenUp)
{
    const std::int64_t earlier = service.AddFile(inbox, "report.txt", kContent);
    for (int i = 0; i < 50; ++i) {
        service.FailNext(Answer("POST /v1/uploads", EarlierResult(earlier)));
        service.FailNext(Drop("DELETE"));
    }
    NewDiscards().Owe(call.account, {earlier}, EtagOf(kContent));
    EXPECT_EQ(SendAsNewProcess().failure.code, EErrorCode::eBadReply);
    EXPECT_LE(service.Count("POST /v1/uploads"), 6);
}

TEST_F(DiscardsTest, NothingLeadsToACopyOnceItIsBeingDeleted)
{
    int discards = 0;
    service.onRequest = [&](const std::string& line) {
        if (line.rfind("DELETE", 0) != 0)
            return;
        ++discards;
        EXPECT_EQ(Journals(".discard"), 1u);
        EXPECT_EQ(Journals(".upload"), 0u);
    };
    service.CorruptNextCommit();
    ExpectFailure(SendAsNewProcess(), EErrorCode::eFileChanged);
    EXPECT_EQ(discards, 1);
}

TEST_F(DiscardsTest, TakesFifteenSecondsAtMost)
{
    int requests = 0;
    EXPECT_EQ(SettleInSilence(1h, requests), 15s);
    EXPECT_EQ(requests, 1);
}

TEST_F(DiscardsTest, TakesTwoSecondsFromWhenTheCallShallEnd)
{
    int requests = 0;
    EXPECT_EQ(SettleInSilence(3s, requests), 5s);
    EXPECT_EQ(requests, 1);
}

TEST_F(DiscardsTest, TakesNoLongerThanElseWhenTheCallShallEndLate)
{
    int requests = 0;
    EXPECT_EQ(SettleInSilence(14s, requests), 15s);
}

TEST_F(DiscardsTest, DeletesOnlyWhatItKnows)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    NewDiscards().Owe(call.account, {file}, EtagOf("a copy"));
    NewDiscards().Settle(api, call);
    const SentRequest last = service.Requests().back();
    EXPECT_EQ(last.Header("If-Match"), EtagOf("a copy"));
    EXPECT_TRUE(service.FileIds(inbox).empty());
    EXPECT_EQ(Journals(".discard"), 0u);
}

TEST_F(DiscardsTest, AnUploadTellsWhatItsWrongCopyHolds)
{
    service.CorruptNextCommit();
    ExpectFailure(SendAsNewProcess(), EErrorCode::eFileChanged);
    std::string corrupt = kContent;
    corrupt[0] ^= 1;
    EXPECT_EQ(service.Requests().back().Header("If-Match"), EtagOf(corrupt));
}

TEST_F(DiscardsTest, WhatHoldsSomethingElseByNowOrIsGoneIsSettled)
{
    const std::int64_t other = service.AddFile(inbox, "report.txt", "something else");
    const std::int64_t gone = service.AddFile(inbox, "gone.txt", "a copy");
    service.RemoveFile(gone);
    NewDiscards().Owe(call.account, {other, gone}, EtagOf("a copy"));
    NewDiscards().Settle(api, call);
    EXPECT_EQ(service.Count("DELETE /v1/resources/"), 2);
    EXPECT_EQ(service.FileIds(inbox), Ids{other});
    EXPECT_EQ(Journals(".discard"), 0u);
}

TEST_F(DiscardsTest, NothingIsOwedForLongerThanTheBinKeepsIt)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    NewDiscards().Owe(call.account, {file}, EtagOf("a copy"));
    Discards running = NewDiscards();
    EXPECT_TRUE(running.Owes(call.account, {file}));
    const std::int64_t nowS = test::NextMonthS();
    wallTimeS = [nowS] { return nowS; };
    DateJournal(nowS - 30 * kDayS - test::kHourS);
    EXPECT_FALSE(NewDiscards().Owes(call.account, {file}));
    EXPECT_EQ(Journals(".discard"), 0u);
    EXPECT_EQ(service.FileIds(inbox), Ids{file});
}

TEST_F(DiscardsTest, NothingIsOwedForLongerThanThatInOneRunEither)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    const std::int64_t nowS = test::NextMonthS();
    Discards discards(state.Path("own"), [nowS] { return nowS; });
    discards.Owe(call.account, {file}, EtagOf("a copy"));
    DateJournal(nowS - 30 * kDayS - test::kHourS);
    discards.Settle(api, call);
    EXPECT_EQ(service.Count("DELETE"), 0);
    EXPECT_FALSE(discards.Owes(call.account, {file}));
    EXPECT_EQ(Journals(".discard"), 0u);
}

TEST_F(DiscardsTest, WhatIsYoungerIsOwed)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    NewDiscards().Owe(call.account, {file}, EtagOf("a copy"));
    const std::int64_t nowS = test::NextMonthS();
    wallTimeS = [nowS] { return nowS; };
    DateJournal(nowS - 30 * kDayS + test::kHourS);
    NewDiscards().Settle(api, call);
    EXPECT_TRUE(service.FileIds(inbox).empty());
}

TEST_F(DiscardsTest, NothingIsTooOldWhileTheClockIsWrong)
{
    const std::int64_t file = service.AddFile(inbox, "report.txt", "a copy");
    NewDiscards().Owe(call.account, {file}, EtagOf("a copy"));
    wallTimeS = [] { return std::int64_t{0}; };
    EXPECT_TRUE(NewDiscards().Owes(call.account, {file}));
}

TEST_F(DiscardsTest, SweepsWhatNeverBecameAJournal)
{
    const std::int64_t nowS = test::NextMonthS();
    wallTimeS = [nowS] { return nowS; };
    for (const char* name : {"old.discard.new", "young.discard.new", "readme"})
        state.Write(std::string("own/") + name, "torn by a crash");
    state.Date("own/old.discard.new", nowS - test::kWeekS - test::kHourS);
    state.Date("own/young.discard.new", nowS - test::kWeekS + test::kHourS);
    state.Date("own/readme", nowS - test::kWeekS - test::kHourS);
    NewDiscards().Settle(api, call);
    EXPECT_FALSE(state.Has("own/old.discard.new"));
    EXPECT_TRUE(state.Has("own/young.discard.new"));
    EXPECT_TRUE(state.Has("own/readme"));
}

TEST_F(DiscardsTest, ReadsTheDigestThatTheServiceSays)
{
    Sha256 hash;
    hash.Update("abc", 3);
    const Sha256::Digest digest = hash.Finish();
    const std::string value = ToReprDigest(digest);
    ASSERT_TRUE(FromReprDigest(value));
    EXPECT_EQ(*FromReprDigest(value), digest);
    for (const std::string& bad :
         {std::string(), std::string("sha-256="), value.substr(1), value + ":",
          "sha-512=" + value.substr(8), "sha-256=:" + std::string(44, '!') + ":",
          "sha-256=:" + std::string(44, 'A') + ":"})
        EXPECT_FALSE(FromReprDigest(bad)) << bad;
}

} // namespace kesdk::impl
