// When a transfer tries again, how long it waits, and when it gives up.
#include "support/FakeTime.h"
#include "transfer/ResumableTransfer.h"

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <utility>
#include <vector>

namespace kesdk::impl {

namespace {

using namespace std::chrono_literals;
using Attempt = ResumableTransfer::Attempt;
using Sleeps = std::vector<std::chrono::milliseconds>;

const Failure kDropped(EErrorCode::eDropped, "the link");

class ResumableTransferTest : public testing::Test
{
protected:
    // Each attempt takes as long as `lasts`.
    Failure Run(ResumableTransfer& transfer)
    {
        return transfer.Run([this]() -> Attempt {
            ++attempts;
            time->Advance(lasts);
            if (outcomes.empty())
                return {false, kDropped};
            Attempt outcome = outcomes.front();
            outcomes.pop_front();
            return outcome;
        });
    }
    Failure Run()
    {
        ResumableTransfer transfer(timing, givenUp, abort);
        return Run(transfer);
    }

    std::shared_ptr<test::FakeTime> time = std::make_shared<test::FakeTime>();
    test::FakeTiming timing{time, 1.0};
    std::optional<Clock::Time> givenUp;
    AbortCheck abort;
    std::deque<Attempt> outcomes;
    std::chrono::milliseconds lasts{0};
    int attempts = 0;
};

} // namespace

TEST_F(ResumableTransferTest, WaitsLongerAfterEachDrop)
{
    for (int i = 0; i < 6; ++i)
        outcomes.push_back({false, kDropped});
    outcomes.push_back({true, {}});
    EXPECT_FALSE(Run().IsSet());
    EXPECT_EQ(time->Sleeps(), (Sleeps{500ms, 1s, 2s, 4s, 8s, 8s}));
}

TEST_F(ResumableTransferTest, MakesTheNextStepWithoutAPause)
{
    outcomes = {{false, {}}, {false, {}}, {true, {}}};
    EXPECT_FALSE(Run().IsSet());
    EXPECT_EQ(attempts, 3);
    EXPECT_TRUE(time->Sleeps().empty());
}

TEST_F(ResumableTransferTest, EndsWithAFailureThatMayNotPass)
{
    outcomes = {{false, Failure(EErrorCode::eForbidden)}};
    EXPECT_EQ(Run().code, EErrorCode::eForbidden);
    EXPECT_EQ(attempts, 1);
}

TEST_F(ResumableTransferTest, EndsFiveMinutesAfterTheLastProgress)
{
    ResumableTransfer transfer(timing, givenUp, abort, 10);
    const Clock::Time begin = time->Now();
    time->Advance(4min);
    EXPECT_TRUE(transfer.Reach(11));
    EXPECT_EQ(Run(transfer).code, EErrorCode::eNoProgress);
    EXPECT_GE(time->Now() - begin, 9min);
    EXPECT_LT(time->Now() - begin, 9min + 9s);
    EXPECT_EQ(transfer.OffsetBytes(), 11);
}

TEST_F(ResumableTransferTest, DoesNotCountBytesThatArriveAgainAsProgress)
{
    ResumableTransfer transfer(timing, givenUp, abort);
    EXPECT_TRUE(transfer.Reach(100));
    EXPECT_FALSE(transfer.Reach(20));
    EXPECT_FALSE(transfer.Reach(100));
    EXPECT_EQ(transfer.OffsetBytes(), 100);
    transfer.StartOver();
    EXPECT_TRUE(transfer.Reach(20)) << "of another upload";
}

TEST_F(ResumableTransferTest, BeginsTheBackoffAnewAfterProgress)
{
    ResumableTransfer transfer(timing, givenUp, abort);
    int number = 0;
    const Failure end = transfer.Run([&]() -> Attempt {
        ++number;
        if (number == 4)
            transfer.Reach(1);
        return number < 6 ? Attempt{false, kDropped} : Attempt{true, {}};
    });
    EXPECT_FALSE(end.IsSet());
    EXPECT_EQ(time->Sleeps(), (Sleeps{500ms, 1s, 2s, 500ms, 1s}));
}

TEST_F(ResumableTransferTest, HasThirtySecondsForTheFirstByteAfterATransferThatWasGivenUp)
{
    EXPECT_EQ(Run().code, EErrorCode::eNoProgress);
    const Clock::Time begin = time->Now();
    EXPECT_EQ(Run().code, EErrorCode::eNoProgress);
    EXPECT_LT(time->Now() - begin, 40s);
    ResumableTransfer transfer(timing, givenUp, abort);
    transfer.Reach(1);
    const Clock::Time next = time->Now();
    EXPECT_EQ(Run(transfer).code, EErrorCode::eNoProgress);
    EXPECT_GE(time->Now() - next, 5min) << "a byte arrived";
    time->Advance(2min);
    const Clock::Time last = time->Now();
    EXPECT_EQ(Run().code, EErrorCode::eNoProgress);
    EXPECT_GE(time->Now() - last, 5min) << "that was too long ago";
}

TEST_F(ResumableTransferTest, EndsWithTheServicesErrorIfRetryAfterIsBeyondTheDeadline)
{
    Failure busy(EErrorCode::eServiceBusy, "busy", 503);
    busy.retryAfter = 299s;
    outcomes = {{false, busy}, {true, {}}};
    EXPECT_FALSE(Run().IsSet());
    EXPECT_EQ(time->Sleeps(), (Sleeps{299s}));
    busy.retryAfter = 300s;
    outcomes = {{false, busy}};
    EXPECT_EQ(Run().code, EErrorCode::eServiceBusy);
}

TEST_F(ResumableTransferTest, EndsAfterSixAnswersThatBringNothing)
{
    ResumableTransfer transfer(timing, givenUp, abort);
    const Failure end = transfer.Run([&]() -> Attempt {
        ++attempts;
        transfer.CountUselessAnswer();
        return {};
    });
    EXPECT_EQ(end.code, EErrorCode::eBadAnswer);
    EXPECT_EQ(attempts, 6);
}

// Ten minutes of sending, and no answer yet: the next attempt asks whether the bytes arrived.
TEST_F(ResumableTransferTest, GivesBytesThatWereSentTimeForAnAnswer)
{
    ResumableTransfer transfer(timing, givenUp, abort);
    const Failure end = transfer.Run([&]() -> Attempt {
        const Clock::Time begin = time->Now();
        if (++attempts == 1) {
            time->Advance(10min);
            transfer.NoteBytesSent(begin);
            return {false, kDropped};
        }
        EXPECT_TRUE(transfer.Reach(1));
        return {true, {}};
    });
    EXPECT_FALSE(end.IsSet()) << end.detail;
    EXPECT_EQ(attempts, 2);
}

TEST_F(ResumableTransferTest, LeavesOutTheTimeInWhichTheConsoleWasBusy)
{
    ResumableTransfer transfer(timing, givenUp, abort);
    const Clock::Time begin = time->Now();
    transfer.NoteBytesSent(begin - 31s);
    time->Advance(6min);
    transfer.Extend(6min);
    EXPECT_EQ(Run(transfer).code, EErrorCode::eNoProgress);
    EXPECT_GE(time->Now() - begin, 10min);
}

TEST_F(ResumableTransferTest, EndsInThePauseWhenAborted)
{
    abort = [] { return true; };
    EXPECT_EQ(Run().code, EErrorCode::eAborted);
    EXPECT_EQ(attempts, 1);
}

} // namespace kesdk::impl
