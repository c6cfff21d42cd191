// The board: what a reader sees of the notes, on a clock that only the test moves.
#include "base/LinkBoard.h"
#include "base/Timing.h"
#include "support/FakeTime.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;
using kesdkimpl::EDirection;
using kesdkimpl::EPhase;
using kesdkimpl::EProblem;
using kesdkimpl::ESession;

class LinkBoardTest : public testing::Test
{
protected:
    std::int64_t WallS() const
    {
        return std::chrono::duration_cast<std::chrono::seconds>(time->TimeOfDay()).count();
    }
    // 100 kB more each second.
    void Move(int seconds)
    {
        for (int i = 0; i < seconds; ++i) {
            time->Advance(1s);
            board.ReachOffset(offset += 100'000);
        }
    }
    kesdkimpl::TransferStatus Transfer() const
    {
        return board.Read().transfer.value_or(kesdkimpl::TransferStatus());
    }

    std::shared_ptr<test::FakeTime> time = std::make_shared<test::FakeTime>();
    std::chrono::milliseconds clockError{0};
    std::chrono::milliseconds asleep{0};
    LinkBoard board{std::make_unique<test::FakeClock>(time),
                    [this] { return time->TimeOfDay() + asleep + clockError; },
                    [this] { return asleep; }};
    std::int64_t offset = 0;
};

} // namespace

TEST_F(LinkBoardTest, KeepsTheTimeOfTheFirstFailureUntilTheNextContact)
{
    board.NoteContact();
    const std::int64_t contactS = WallS();
    time->Advance(30s);
    const std::int64_t failureS = WallS();
    const Clock::Time failure = time->Now();
    board.NoteProblem(EProblem::eNoAnswer, failure);
    time->Advance(60s);
    board.NoteProblem(EProblem::eNoNetwork, failure);
    kesdkimpl::LinkStatus status = board.Read();
    EXPECT_EQ(status.problem, EProblem::eNoNetwork) << "the latest";
    ASSERT_TRUE(status.offlineSince && status.lastContact);
    EXPECT_EQ(status.offlineSince->wallS, failureS);
    EXPECT_EQ(status.offlineSince->steady, failure);
    EXPECT_EQ(status.lastContact->wallS, contactS);
    board.NoteContact();
    status = board.Read();
    EXPECT_EQ(status.problem, EProblem::eNone);
    EXPECT_FALSE(status.offlineSince);
    EXPECT_EQ(status.lastContact->wallS, WallS());
}

TEST_F(LinkBoardTest, TellsTheTimesByTheClockThatHasBeenSetSince)
{
    clockError = 2h;
    board.NoteContact();
    board.NoteStream();
    const std::int64_t contactS = WallS();
    time->Advance(30s);
    board.NoteProblem(EProblem::eNoAnswer, board.Now());
    EXPECT_EQ(board.Read().offlineSince->wallS, contactS + 7200 + 30);
    time->Advance(60s);
    clockError = 0h;
    const kesdkimpl::LinkStatus status = board.Read();
    EXPECT_EQ(status.lastContact->wallS, contactS);
    EXPECT_EQ(status.listsCurrentAt->wallS, contactS);
    EXPECT_EQ(status.offlineSince->wallS, contactS + 30);
}

TEST_F(LinkBoardTest, ForgetsAWrongClockWhenItIsSet)
{
    clockError = -2h;
    board.SetSession(ESession::eConnecting);
    board.NoteProblem(EProblem::eClockWrong, board.Now());
    board.SetSession(ESession::eLoginFailed);
    time->Advance(60s);
    asleep = 1h;
    EXPECT_EQ(board.Read().session, ESession::eLoginFailed);
    EXPECT_EQ(board.Read().problem, EProblem::eClockWrong);
    clockError = 0h;
    EXPECT_EQ(board.Read().session, ESession::eLoggedOut);
    EXPECT_EQ(board.Read().problem, EProblem::eNone);
    EXPECT_FALSE(board.Read().offlineSince);
}

TEST_F(LinkBoardTest, KeepsOtherProblemsWhenTheClockIsSet)
{
    board.SetSession(ESession::eConnecting);
    board.NoteProblem(EProblem::eNoNetwork, board.Now());
    board.SetSession(ESession::eLoginFailed);
    clockError = 2h;
    EXPECT_EQ(board.Read().problem, EProblem::eNoNetwork);
    board.SetSession(ESession::eLoggedIn);
    board.NoteProblem(EProblem::eClockWrong, board.Now());
    clockError = 0h;
    EXPECT_EQ(board.Read().problem, EProblem::eClockWrong) << "the session tries again by itself";
}

// The steady clock does not count a sleep of the console.
TEST_F(LinkBoardTest, KeepsTheTimesFromBeforeASleepOfTheConsole)
{
    asleep = 1h;
    board.NoteContact();
    const std::int64_t contactS = WallS() + 3600;
    asleep += 8h;
    EXPECT_EQ(board.Read().lastContact->wallS, contactS);
}

TEST_F(LinkBoardTest, IgnoresTheFailureOfARequestThatIsOlderThanAFreshContact)
{
    const Clock::Time request = board.Now();
    time->Advance(1ms);
    const Clock::Time contact = board.NoteContact();
    time->Advance(10s);
    board.NoteProblem(EProblem::eNoAnswer, request);
    EXPECT_EQ(board.Read().problem, EProblem::eNone);
    board.NoteProblem(EProblem::eNoAnswer, contact);
    EXPECT_EQ(board.Read().problem, EProblem::eNoAnswer) << "the contact is the request's own";
}

TEST_F(LinkBoardTest, TakesTheFailureOfAnOlderRequestWhenTheContactIsNotFresh)
{
    const Clock::Time request = board.Now();
    time->Advance(1ms);
    board.NoteContact();
    time->Advance(10'001ms);
    board.NoteProblem(EProblem::eNoAnswer, request);
    EXPECT_EQ(board.Read().problem, EProblem::eNoAnswer);
}

TEST_F(LinkBoardTest, MeasuresTheRateAfterTwoSecondsOverTheLastTen)
{
    board.BeginTransfer(EDirection::eDownload, "map.zip", 100'000'000);
    Move(2);
    EXPECT_FALSE(Transfer().bytesPerSecond) << "the first sample is 1 s old";
    Move(1);
    EXPECT_EQ(Transfer().bytesPerSecond, 100'000);
    time->Advance(2s);
    EXPECT_EQ(Transfer().bytesPerSecond, 50'000) << "200 kB in the 4 s since the first sample";
    Move(20);
    EXPECT_EQ(Transfer().bytesPerSecond, 100'000) << "the slow seconds are forgotten";
}

TEST_F(LinkBoardTest, WaitsWhenNoByteHasMovedForThreeSeconds)
{
    board.BeginTransfer(EDirection::eDownload, "map.zip", 10'000'000);
    Move(5);
    time->Advance(2999ms);
    EXPECT_EQ(Transfer().phase, EPhase::eMoves);
    time->Advance(1ms);
    EXPECT_EQ(Transfer().phase, EPhase::eWaits);
    EXPECT_FALSE(Transfer().bytesPerSecond);
    EXPECT_EQ(Transfer().waitsUntilS, WallS() + 300 - 3) << "five minutes after the last byte";
    board.ReachOffset(offset += 1);
    EXPECT_EQ(Transfer().phase, EPhase::eMoves);
}

TEST_F(LinkBoardTest, WaitsUntilTheDeadlineOfAFailedAttempt)
{
    board.BeginTransfer(EDirection::eUpload, "one.crv", 10'000);
    board.NoteSent(4'000);
    board.SetDeadline(time->Now() + 30s);
    board.SetWaiting();
    EXPECT_EQ(Transfer().phase, EPhase::eWaits) << "at once";
    time->Advance(10s);
    EXPECT_EQ(Transfer().waitsUntilS, WallS() + 20);
    board.ReachOffset(1'000); // only these have arrived
    EXPECT_EQ(Transfer().phase, EPhase::eWaits);
    board.NoteSent(500);
    EXPECT_EQ(Transfer().doneBytes, 1'500);
    EXPECT_EQ(Transfer().phase, EPhase::eMoves);
}

TEST_F(LinkBoardTest, VerifiesWhenAllBytesHaveMoved)
{
    board.BeginTransfer(EDirection::eUpload, "one.crv", 10'000);
    board.NoteSent(10'000);
    time->Advance(10s);
    EXPECT_EQ(Transfer().phase, EPhase::eVerifies) << "the service has not answered yet";
    board.SetWaiting();
    EXPECT_EQ(Transfer().phase, EPhase::eWaits) << "the answer was lost";
    board.SetVerifying();
    EXPECT_EQ(Transfer().phase, EPhase::eVerifies);
    board.EndTransfer();
    EXPECT_FALSE(board.Read().transfer);
}

TEST_F(LinkBoardTest, WaitsAfterAVerification)
{
    board.BeginTransfer(EDirection::eUpload, "report.zip", 1000);
    board.ReachOffset(1000);
    board.SetVerifying();
    board.SetWaiting();
    EXPECT_EQ(Transfer().phase, EPhase::eWaits);
}

TEST_F(LinkBoardTest, HasNoRateBelowOneBytePerSecond)
{
    board.BeginTransfer(EDirection::eDownload, "map.zip", 1000);
    board.ReachOffset(1);
    time->Advance(6s);
    board.ReachOffset(6);
    EXPECT_EQ(Transfer().phase, EPhase::eMoves);
    EXPECT_FALSE(Transfer().bytesPerSecond);
}

TEST_F(LinkBoardTest, ReadsTheBoardOfTheLivingConnection)
{
    EXPECT_EQ(kesdkimpl::ReadLinkStatus().session, ESession::eNoConnection);
    {
        const auto published = std::make_shared<LinkBoard>();
        LinkBoard::Publish(published);
        EXPECT_EQ(kesdkimpl::ReadLinkStatus().session, ESession::eLoggedOut);
        published->SetSession(ESession::eLoggedIn);
        EXPECT_EQ(kesdkimpl::ReadLinkStatus().session, ESession::eLoggedIn);
    }
    EXPECT_EQ(kesdkimpl::ReadLinkStatus().session, ESession::eNoConnection);
}

} // namespace kesdk::impl
