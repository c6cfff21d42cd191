// When a connection reports the files that it has fetched.
#include "support/ConnectionFixture.h"

#include <nlohmann/json.hpp>

#include <atomic>
#include <condition_variable>
#include <mutex>

namespace kesdk::test {

namespace {

constexpr const char* kFetches = "POST /v1/fetches";
constexpr const char* kPositions = "POST /v1/positions";

using Ids = std::vector<std::int64_t>;

// Whether the idle time has passed. From then on each sleep ends at once. Thread safety: safe.
class IdleTime
{
public:
    void Pass()
    {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
        m_changed.notify_all();
    }
    void Wake() { m_changed.notify_all(); }
    // False if the check ended the sleep.
    bool Wait(const impl::AbortCheck& abort)
    {
        std::unique_lock lock(m_mutex);
        while (!m_isOver) {
            if (impl::IsAborted(abort))
                return false;
            m_changed.wait_for(lock, std::chrono::milliseconds(5));
        }
        return !impl::IsAborted(abort);
    }

private:
    std::mutex m_mutex; // guards m_isOver
    std::condition_variable m_changed;
    bool m_isOver = false;
};

class IdleTiming : public FakeTiming
{
public:
    IdleTiming(std::shared_ptr<FakeTime> time, std::shared_ptr<IdleTime> idle)
        : FakeTiming(std::move(time), 0.0), m_idle(std::move(idle))
    {}
    bool Sleep(std::chrono::milliseconds duration, const impl::AbortCheck& abort) override
    {
        return m_idle->Wait(abort) && FakeTiming::Sleep(duration, abort);
    }
    void Wake() override { m_idle->Wake(); }

private:
    std::shared_ptr<IdleTime> m_idle;
};

class FetchesOfAConnection : public ConnectionFixture
{
protected:
    FetchesOfAConnection() { Restart(); }

    // A console that starts anew, on the same state folder.
    void Restart()
    {
        idle = std::make_shared<IdleTime>();
        impl::Connection::Lines lines{NewLine(), NewLine(), NewLine()};
        lines.positions.timing = std::make_unique<IdleTiming>(time, idle);
        impl::Connection::Lasting lasting = OnBoard();
        lasting.service = "https://service.example";
        lasting.journalFolder = journals.Path().string();
        connection->Unsubscribe(&listener);
        connection = std::make_unique<impl::Connection>(std::move(lines), lasting);
        connection->Subscribe(&listener);
    }

    // Waits for the second login: the listener has seen the first.
    void LogInAgain()
    {
        const std::size_t before = listener.States().size();
        ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
        ASSERT_TRUE(listener.WaitForStates(before + 2));
        ASSERT_EQ(listener.States().back(), api::eLoginSuccessful);
    }

    bool Download(std::int64_t file)
    {
        return connection->Download(file, folder.WidePath(std::to_string(file)).c_str());
    }

    bool ReportPosition() { return connection->ReportPosition({++positionTime, 1.0, 1.0}); }

    // Returns when the position's fetches, if there are any, were sent before.
    void AwaitTwoPositions()
    {
        for (int i = 0; i < 2; ++i) {
            const int before = service.Count(kPositions);
            ASSERT_TRUE(ReportPosition());
            ASSERT_TRUE(service.WaitForRequests(kPositions, before + 1));
        }
    }

    // The files of each report.
    std::vector<Ids> Reports() const
    {
        std::vector<Ids> reports;
        for (const SentRequest& sent : service.Requests()) {
            if (sent.Line() != kFetches)
                continue;
            Ids ids;
            const auto body = nlohmann::json::parse(sent.request.body);
            for (const auto& fetch : body["fetches"])
                ids.push_back(fetch["file"]);
            reports.push_back(ids);
        }
        return reports;
    }

    const std::int64_t first = service.AddFile(inbox, "first.zip", "first");
    const std::int64_t second = service.AddFile(inbox, "second.zip", "second");
    kelvo::test::TempFolder journals;
    std::shared_ptr<IdleTime> idle;
    std::int32_t positionTime = 0;
};

} // namespace

TEST_F(FetchesOfAConnection, AreReportedTogetherWhenTheLinkIsIdle)
{
    LogIn();
    ASSERT_TRUE(Download(first));
    ASSERT_TRUE(Download(second));
    EXPECT_EQ(service.Count(kFetches), 0);
    EXPECT_EQ(journals.EntryCount(), 1U);
    idle->Pass();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 1));
    AwaitTwoPositions();
    EXPECT_EQ(Reports(), (std::vector<Ids>{{first, second}}));
    EXPECT_EQ(journals.EntryCount(), 0U);
}

TEST_F(FetchesOfAConnection, AreReportedAfterTheNextPosition)
{
    LogIn();
    ASSERT_TRUE(Download(first));
    ASSERT_TRUE(ReportPosition());
    ASSERT_TRUE(service.WaitForRequests(kFetches, 1));
    const auto requests = service.Requests();
    EXPECT_EQ(requests.at(requests.size() - 2).Line(), kPositions);
    EXPECT_EQ(requests.back().Line(), kFetches);
}

TEST_F(FetchesOfAConnection, WaitForTheEndOfATransfer)
{
    int reportsDuringTheTransfer = -1;
    // The logout comes after the end of this function.
    const std::string transfer = "GET /v1/resources/" + std::to_string(second) + "/content";
    service.onRequest = [this, transfer, &reportsDuringTheTransfer](const std::string& line) {
        if (line != transfer)
            return;
        AwaitTwoPositions();
        reportsDuringTheTransfer = service.Count(kFetches);
    };
    LogIn();
    ASSERT_TRUE(Download(first));
    ASSERT_TRUE(Download(second));
    EXPECT_EQ(reportsDuringTheTransfer, 0);
    idle->Pass();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 1));
    EXPECT_EQ(Reports(), (std::vector<Ids>{{first, second}}));
}

TEST_F(FetchesOfAConnection, AreReportedIfTheNextTransferFails)
{
    service.Corrupt(second);
    LogIn();
    ASSERT_TRUE(Download(first));
    EXPECT_FALSE(Download(second));
    idle->Pass();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 1));
    EXPECT_EQ(Reports(), (std::vector<Ids>{{first}}));
}

TEST_F(FetchesOfAConnection, AreReportedInHundredsAfterALargeBatch)
{
    constexpr std::size_t kMostInAReport = 100;
    Ids files{first, second};
    while (files.size() <= kMostInAReport)
        files.push_back(service.AddFile(inbox, std::to_string(files.size()), "content"));
    LogIn();
    for (const std::int64_t file : files)
        ASSERT_TRUE(Download(file));
    idle->Pass();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 2));
    EXPECT_EQ(Reports(), (std::vector<Ids>{Ids(files.begin(), files.end() - 1), {files.back()}}));
}

TEST_F(FetchesOfAConnection, AreReportedAgainAfterTheTimeForWhichTheServiceAsks)
{
    std::vector<impl::Clock::Time> times;
    service.onRequest = [&](const std::string& line) {
        if (line == kFetches)
            times.push_back(time->Now());
    };
    impl::HttpResponse busy = Problem(503, "busy");
    busy.headers.push_back({"Retry-After", "400"});
    service.FailNext(Answer(kFetches, busy));
    LogIn();
    ASSERT_TRUE(Download(first));
    AwaitTwoPositions();
    AwaitTwoPositions();
    EXPECT_EQ(service.Count(kFetches), 1) << "the time has not passed";
    idle->Pass();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 2));
    EXPECT_EQ(Reports(), (std::vector<Ids>{{first}, {first}}));
    EXPECT_GE(times.at(1) - times.at(0), std::chrono::seconds(400));
}

TEST_F(FetchesOfAConnection, AreReportedWhenTheLinkIsIdleAfterALostPosition)
{
    service.FailNext(Answer(kPositions, Problem(422, "unprocessable")));
    LogIn();
    ASSERT_TRUE(Download(first));
    ASSERT_TRUE(ReportPosition());
    ASSERT_TRUE(service.WaitForRequests(kPositions, 1));
    idle->Pass();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 1));
    EXPECT_EQ(Reports(), (std::vector<Ids>{{first}}));
}

TEST_F(FetchesOfAConnection, HaveOnlyVerifiedFiles)
{
    service.Corrupt(first);
    LogIn();
    EXPECT_FALSE(Download(first));
    AwaitTwoPositions();
    EXPECT_EQ(service.Count(kFetches), 0);
}

TEST_F(FetchesOfAConnection, SurviveARestart)
{
    LogIn();
    ASSERT_TRUE(Download(first));
    Restart();
    LogInAgain();
    EXPECT_EQ(service.Count(kFetches), 0) << "the login costs no request more";
    ASSERT_TRUE(Download(second));
    idle->Pass();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 1));
    EXPECT_EQ(Reports(), (std::vector<Ids>{{first, second}}));
}

TEST_F(FetchesOfAConnection, AreReportedInTheNextSessionWithoutAnotherTransfer)
{
    LogIn();
    ASSERT_TRUE(Download(first));
    Restart();
    LogInAgain();
    ASSERT_TRUE(connection->SendEnvironment({}));
    idle->Pass();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 1));
    EXPECT_EQ(Reports(), (std::vector<Ids>{{first}}));
}

TEST_F(FetchesOfAConnection, AreReportedAgainAfterALostRequest)
{
    service.FailNext(Drop(kFetches));
    LogIn();
    ASSERT_TRUE(Download(first));
    AwaitTwoPositions();
    EXPECT_EQ(service.Count(kFetches), 1) << "a pause follows the lost request";
    time->Advance(std::chrono::seconds(10));
    AwaitTwoPositions();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 2));
    AwaitTwoPositions();
    EXPECT_EQ(Reports(), (std::vector<Ids>{{first}, {first}}));
}

TEST_F(FetchesOfAConnection, WaitForTheNextSessionIfTheServiceTakesNone)
{
    service.FailNext(Answer(kFetches, Problem(404, "not-found")));
    LogIn();
    ASSERT_TRUE(Download(first));
    AwaitTwoPositions();
    ASSERT_TRUE(Download(second));
    idle->Pass();
    time->Advance(std::chrono::hours(1));
    AwaitTwoPositions();
    EXPECT_EQ(Reports(), (std::vector<Ids>{{first}}));
    EXPECT_TRUE(connection->GetLastErrors().empty());
    EXPECT_EQ(journals.EntryCount(), 1U);

    LogInAgain();
    AwaitTwoPositions();
    EXPECT_EQ(Reports(), (std::vector<Ids>{{first}, {first, second}}));
}

TEST_F(FetchesOfAConnection, EndTheSessionThatTheServiceHasEnded)
{
    service.FailNext(Answer(kFetches, Problem(401, "unauthenticated")));
    LogIn();
    ASSERT_TRUE(Download(first));
    idle->Pass();
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    EXPECT_EQ(journals.EntryCount(), 1U);
}

} // namespace kesdk::test
