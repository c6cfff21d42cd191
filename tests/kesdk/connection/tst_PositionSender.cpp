// The position sender, on a link that hangs and drops.
#include "connection/PositionSender.h"

#include "support/ConnectionFixture.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>

namespace kesdk::test {

namespace {

using Times = std::vector<std::int32_t>;

// Holds every request until Release gives its outcome. Thread safety: safe.
class HangingLink
{
public:
    std::unique_ptr<impl::HttpTransport> NewTransport()
    {
        auto transport = std::make_unique<FakeTransport>(
            [this](const impl::HttpRequest& request, const impl::AbortCheck& abort) {
                return Perform(request, abort);
            });
        transport->onWake = [this] {
            const std::lock_guard lock(m_mutex);
            m_changed.notify_all();
        };
        return transport;
    }

    // Ends the request that hangs, or else the next request, with this outcome.
    void Release(impl::HttpOutcome outcome)
    {
        const std::lock_guard lock(m_mutex);
        m_outcomes.push_back(std::move(outcome));
        m_changed.notify_all();
    }

    // Blocks; false when it takes longer than the hang guard.
    bool WaitForRequests(std::size_t count) const
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, kHangGuard, [&] { return m_times.size() >= count; });
    }

    // The times of the positions in all requests so far; 0 for a report of fetches.
    Times Sent() const
    {
        const std::lock_guard lock(m_mutex);
        return m_times;
    }

private:
    static constexpr std::chrono::seconds kHangGuard{30};

    impl::HttpOutcome Perform(const impl::HttpRequest& request, const impl::AbortCheck& abort)
    {
        std::unique_lock lock(m_mutex);
        m_times.push_back(nlohmann::json::parse(request.body).value("time_s", 0));
        m_changed.notify_all();
        m_changed.wait_for(lock, kHangGuard,
                           [&] { return impl::IsAborted(abort) || !m_outcomes.empty(); });
        if (m_outcomes.empty())
            return Drop(impl::EErrorCode::eAborted);
        impl::HttpOutcome outcome = std::move(m_outcomes.front());
        m_outcomes.pop_front();
        return outcome;
    }

    mutable std::mutex m_mutex; // guards everything below
    mutable std::condition_variable m_changed;
    std::deque<impl::HttpOutcome> m_outcomes;
    Times m_times;
};

impl::HttpOutcome Done()
{
    impl::HttpOutcome outcome;
    outcome.response = MakeResponse(204);
    return outcome;
}

impl::HttpOutcome Refused(int status, const std::string& name)
{
    impl::HttpOutcome outcome;
    outcome.response = Problem(status, name);
    return outcome;
}

class PositionSender : public testing::Test
{
protected:
    void Put(std::int32_t at) { sender.Put({at, 1.0, 1.0}, {1, "token", "account"}); }

    // Puts a position and waits until its request hangs.
    void PutAndHang(std::int32_t at)
    {
        const std::size_t before = link.Sent().size();
        Put(at);
        ASSERT_TRUE(link.WaitForRequests(before + 1));
    }

    std::shared_ptr<FakeTime> time = std::make_shared<FakeTime>();
    HangingLink link;
    impl::LinkBoard board;
    impl::ApiLine line{{link.NewTransport(), std::make_unique<FakeTiming>(time, 0.0)}, board};
    impl::FetchReports fetches{{},
                               line.Timing(),
                               [] { return std::int64_t{0}; },
                               [] { return std::int64_t{0}; },
                               [] { return std::chrono::milliseconds{0}; }};
    bool isCurrent = true; // the session that the service ends
    impl::PositionSender sender{line, fetches, [this](std::int32_t) { return isCurrent; }};
};

} // namespace

TEST_F(PositionSender, SendsOnlyTheLatestPositionAfterARequestThatHung)
{
    PutAndHang(1);
    Put(2);
    Put(3);
    link.Release(Done());
    ASSERT_TRUE(link.WaitForRequests(2));
    link.Release(Done());
    PutAndHang(4);
    EXPECT_EQ(link.Sent(), (Times{1, 3, 4}));
}

TEST_F(PositionSender, RetriesADroppedPositionOnce)
{
    PutAndHang(1);
    link.Release(Drop(impl::EErrorCode::eDropped));
    ASSERT_TRUE(link.WaitForRequests(2));
    link.Release(Done());
    PutAndHang(2);
    EXPECT_EQ(link.Sent(), (Times{1, 1, 2}));
}

TEST_F(PositionSender, KeepsNoQueueOnADeadLink)
{
    for (std::int32_t i = 1; i <= 20; ++i) {
        PutAndHang(i);
        link.Release(Drop(impl::EErrorCode::eTimeout));
        ASSERT_TRUE(link.WaitForRequests(static_cast<std::size_t>(2 * i)));
        link.Release(Drop(impl::EErrorCode::eTimeout));
    }
    PutAndHang(21);
    link.Release(Done());
    PutAndHang(22);
    const Times sent = link.Sent();
    ASSERT_EQ(sent.size(), 42u) << "two attempts for each position, and none when the link is back";
    EXPECT_EQ(sent[39], 20);
    EXPECT_EQ(sent[40], 21);
    EXPECT_EQ(sent[41], 22);
}

TEST_F(PositionSender, SendsANewerPositionInsteadOfARetry)
{
    PutAndHang(1);
    Put(2);
    link.Release(Drop(impl::EErrorCode::eTimeout));
    ASSERT_TRUE(link.WaitForRequests(2));
    link.Release(Done());
    PutAndHang(3);
    EXPECT_EQ(link.Sent(), (Times{1, 2, 3}));
}

TEST_F(PositionSender, DoesNotRetryAfterAnAnswer)
{
    PutAndHang(1);
    link.Release(Refused(422, "unprocessable"));
    PutAndHang(2);
    link.Release(Refused(503, "busy"));
    PutAndHang(3);
    EXPECT_EQ(link.Sent(), (Times{1, 2, 3}));
}

TEST_F(PositionSender, DropsThePositionsOfAnEndedSession)
{
    PutAndHang(1);
    Put(2);
    sender.Clear(); // aborts the first, drops the second
    PutAndHang(3);
    EXPECT_EQ(link.Sent(), (Times{1, 3}));
}

TEST_F(PositionSender, SendsFetchesAfterARefusalInAnEarlierSession)
{
    isCurrent = false;
    fetches.Note("account", 1);
    PutAndHang(1);
    link.Release(Done());
    ASSERT_TRUE(link.WaitForRequests(2));
    link.Release(Refused(401, "unauthenticated"));
    PutAndHang(2);
    link.Release(Refused(401, "unauthenticated"));
    PutAndHang(3);
    link.Release(Done());
    ASSERT_TRUE(link.WaitForRequests(5));
    EXPECT_EQ(link.Sent(), (Times{1, 0, 2, 3, 0}));
    link.Release(Done());
}

TEST_F(ConnectionFixture, APositionThatHangsDelaysNoTransfer)
{
    HangingLink link;
    impl::Connection::Lines lines{NewLine(), NewLine(), NewLine()};
    lines.positions.transport = link.NewTransport();
    connection->Unsubscribe(&listener);
    connection = std::make_unique<impl::Connection>(std::move(lines), OnBoard());
    connection->Subscribe(&listener);
    LogIn();
    ASSERT_TRUE(connection->ReportPosition({1, 1.0, 1.0}));
    ASSERT_TRUE(link.WaitForRequests(1));
    EXPECT_TRUE(Upload("a.zip", "abc"));
    EXPECT_TRUE(connection->ReportPosition({2, 2.0, 2.0}));
    EXPECT_EQ(link.Sent(), (Times{1})) << "the first position still hangs";
    link.Release(Done());
    ASSERT_TRUE(link.WaitForRequests(2));
    EXPECT_EQ(link.Sent(), (Times{1, 2}));
    connection.reset(); // before the link
}

} // namespace kesdk::test
