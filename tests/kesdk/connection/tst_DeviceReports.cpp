// Device reports while the link is lost: they must not delay the caller.
#include "support/ConnectionFixture.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>

namespace kesdk::test {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr const char* kReport = "PUT /v1/devices";

// Sleeps until Release, or until the abort check is true.
class ReleasableTiming : public BlockingTiming
{
public:
    using BlockingTiming::BlockingTiming;
    bool Sleep(std::chrono::milliseconds duration, const impl::AbortCheck& abort) override
    {
        const bool isReleased =
            BlockingTiming::Sleep(duration, [&] { return m_isReleased || impl::IsAborted(abort); });
        return isReleased || !impl::IsAborted(abort);
    }
    void Release()
    {
        m_isReleased = true;
        Wake();
    }

private:
    std::atomic<bool> m_isReleased{false};
};

class DeviceReports : public ConnectionFixture
{
protected:
    DeviceReports()
    {
        impl::Connection::Lines lines{NewLine(), NewLine(), NewLine()};
        lines.requests.transport = NewSilentTransport();
        auto timing = std::make_unique<ReleasableTiming>(time, 0.0); // a lost stream stays lost
        releaseStream = [timing = timing.get()] { timing->Release(); };
        lines.session.timing = std::move(timing);
        connection->Unsubscribe(&listener);
        connection = std::make_unique<impl::Connection>(std::move(lines), OnBoard());
        connection->Subscribe(&listener);
        LogIn();
    }

    // While `isSilent`, no answer comes and each attempt runs to its deadline.
    std::unique_ptr<impl::HttpTransport> NewSilentTransport()
    {
        std::shared_ptr<impl::HttpTransport> real = service.NewTransport();
        return std::make_unique<FakeTransport>(
            [this, real](const impl::HttpRequest& request, const impl::AbortCheck& abort) {
                if (!isSilent)
                    return real->Perform(request, abort);
                ++failedAttempts;
                time->Advance(request.limits.total);
                return test::Drop(impl::EErrorCode::eTimeout);
            });
    }

    void LoseTheStream()
    {
        service.SetOnline(false);
        ASSERT_TRUE(listener.WaitForState(api::eReconnecting));
        service.SetOnline(true);
    }

    milliseconds DurationOf(int changes)
    {
        const impl::Clock::Time begin = time->Now();
        for (int i = 0; i < changes; ++i) {
            EXPECT_FALSE(connection->MeasDeviceConnected({}, true));
            EXPECT_FALSE(FirstText().empty());
            EXPECT_EQ(connection->MeasDeviceDisconnected({}, false), 0);
        }
        return std::chrono::duration_cast<milliseconds>(time->Now() - begin);
    }

    std::function<void()> releaseStream;
    bool isSilent = false;
    int failedAttempts = 0;
};

} // namespace

TEST_F(DeviceReports, MakesOneShortAttemptWhileTheLinkIsLost)
{
    LoseTheStream();
    isSilent = true;
    const impl::Clock::Time begin = time->Now();
    EXPECT_FALSE(connection->MeasDeviceConnected({}, true));
    EXPECT_EQ(failedAttempts, 1);
    EXPECT_LE(time->Now() - begin, seconds(2));
}

TEST_F(DeviceReports, LimitsReportsOfAFlickeringFixToTwoSecondsAMinute)
{
    LoseTheStream();
    isSilent = true;
    EXPECT_LE(DurationOf(50), seconds(2));
    for (int minute = 0; minute < 10; ++minute) {
        time->Advance(seconds(60));
        EXPECT_LE(DurationOf(50), seconds(2));
    }
    EXPECT_EQ(failedAttempts, 11) << "one attempt in each minute";
}

TEST_F(DeviceReports, LimitsReportsOfAFlickeringFixBeforeTheLossIsNoticed)
{
    isSilent = true;
    EXPECT_LE(DurationOf(50), seconds(15));
    time->Advance(seconds(60));
    EXPECT_LE(DurationOf(50), seconds(2));
    EXPECT_EQ(listener.States(), (std::vector<std::int32_t>{1, 3}));
}

// The operator's guide names this time.
TEST_F(DeviceReports, LimitsALogoutBeforeTheLossIsNoticedToSeventeenSeconds)
{
    isSilent = true;
    const impl::Clock::Time begin = time->Now();
    EXPECT_EQ(connection->MeasDeviceDisconnected({}, false), 0);
    EXPECT_TRUE(connection->Logout());
    EXPECT_EQ(time->Now() - begin, seconds(17));
}

TEST_F(DeviceReports, SendsReportsAtOnceAfterAnotherRequestSucceeded)
{
    isSilent = true;
    EXPECT_FALSE(connection->MeasDeviceConnected({}, true));
    isSilent = false;
    EXPECT_FALSE(connection->MeasDeviceConnected({}, true)) << "still in the pause";
    EXPECT_TRUE(connection->SendEnvironment({}));
    EXPECT_TRUE(connection->MeasDeviceConnected({}, true));
    EXPECT_EQ(service.Count(kReport), 1);
    service.FailNext(Drop(kReport));
    EXPECT_NE(connection->MeasDeviceDisconnected({}, false), 0) << "the drop is retried";
}

TEST_F(DeviceReports, SendsReportsAtOnceWhenTheStreamIsOpenAgain)
{
    LoseTheStream();
    isSilent = true;
    EXPECT_FALSE(connection->MeasDeviceConnected({}, true));
    isSilent = false;
    releaseStream();
    ASSERT_TRUE(listener.WaitForState(api::eLoginSuccessful));
    EXPECT_TRUE(connection->MeasDeviceConnected({}, true));
}

TEST_F(DeviceReports, SendsReportsAgainAfterTenSeconds)
{
    isSilent = true;
    EXPECT_FALSE(connection->MeasDeviceConnected({}, true));
    isSilent = false;
    time->Advance(seconds(10));
    EXPECT_TRUE(connection->MeasDeviceConnected({}, true));
}

TEST_F(DeviceReports, SendsAReportAtOnceAfterAFailureThatTookNoTime)
{
    LoseTheStream();
    for (int i = 1; i <= 3; ++i) {
        service.FailNext(Drop(kReport));
        EXPECT_FALSE(connection->MeasDeviceConnected({}, true));
        EXPECT_EQ(service.Count(kReport), i);
    }
    EXPECT_TRUE(connection->MeasDeviceConnected({}, true));
}

TEST_F(DeviceReports, ReportsADisconnectedDeviceAlsoWhenAborted)
{
    isSilent = true;
    EXPECT_FALSE(connection->MeasDeviceConnected({}, true));
    connection->SetAbortCheck([] { return true; });
    isSilent = false;
    EXPECT_NE(connection->MeasDeviceDisconnected({}, false), 0);
}

} // namespace kesdk::test
