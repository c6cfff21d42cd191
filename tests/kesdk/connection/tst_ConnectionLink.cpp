// Loss of the link, and what the event stream sends when the link is back.
#include "support/ConnectionFixture.h"

#include <algorithm>

namespace kesdk::test {

namespace {

using States = std::vector<std::int32_t>;

using ConnectionLink = ConnectionFixture;

} // namespace

TEST_F(ConnectionLink, RetriesSnapshotAndStreamInALogin)
{
    service.FailNext(Drop("GET /v1/account"));
    service.FailNext(Drop("GET /v1/events"));
    LogIn();
    EXPECT_EQ(listener.States(), (States{1, 3}));
}

TEST_F(ConnectionLink, ReconnectsWhenTheStreamEnds)
{
    LogIn();
    service.CloseStreams();
    ASSERT_TRUE(listener.WaitForStates(4));
    EXPECT_EQ(listener.States(), (States{1, 3, 2, 3}));
    EXPECT_TRUE(connection->IsLoggedIn());
    const std::int64_t file = service.AddFile(inbox, "a.zip", "x");
    EXPECT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
}

TEST_F(ConnectionLink, ReportsAChangeFromTheTimeWithoutALink)
{
    LogIn();
    service.SetOnline(false);
    ASSERT_TRUE(listener.WaitForState(api::eReconnecting));
    EXPECT_TRUE(connection->IsLoggedIn());
    EXPECT_EQ(connection->GetProjects().size(), 7u) << "from the last snapshot";
    const std::int64_t file = service.AddFile(inbox, "a.zip", "x");
    service.SetOnline(true);
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{file}));
    EXPECT_EQ(service.Count("GET /v1/account"), 1) << "the stream was resumed";
}

TEST_F(ConnectionLink, ReconnectsTheStreamAtOnceWhenAnotherRequestSucceeds)
{
    LetSleepsBlock();
    LogIn();
    service.SetOnline(false);
    ASSERT_TRUE(listener.WaitForState(api::eReconnecting));
    service.SetOnline(true);
    EXPECT_TRUE(connection->SendEnvironment({}));
    EXPECT_TRUE(listener.WaitForState(api::eLoginSuccessful));
}

TEST_F(ConnectionLink, TriesToConnectEverySecondWithoutEnd)
{
    LogIn();
    Fault refused = Drop("GET /v1/events");
    refused.dropCode = impl::EErrorCode::eRefused;
    constexpr int kTries = 100;
    for (int i = 0; i < kTries; ++i)
        service.FailNext(refused);
    const std::size_t before = service.Requests().size();
    service.CloseStreams();
    ASSERT_TRUE(listener.WaitForStates(4));
    const std::vector<std::chrono::milliseconds> pauses = time->Sleeps();
    EXPECT_EQ(pauses.size(), std::size_t{kTries} + 1);
    EXPECT_LE(*std::max_element(pauses.begin(), pauses.end()), std::chrono::seconds(1));
    const std::vector<SentRequest> sent = service.Requests();
    for (std::size_t i = before; i < sent.size(); ++i) {
        const std::chrono::seconds limit(1 << ((i - before) % 4));
        EXPECT_EQ(sent.at(i).request.limits.connect, limit) << i;
    }
}

TEST_F(ConnectionLink, TriesLessOftenIfTheServiceIsReachedButRefuses)
{
    LogIn();
    for (int i = 0; i < 8; ++i)
        service.FailNext(Answer("GET /v1/events", Problem(503, "busy")));
    service.CloseStreams();
    ASSERT_TRUE(listener.WaitForStates(4));
    EXPECT_EQ(time->Sleeps().back(), std::chrono::seconds(15)) << "half of the longest pause";
}

TEST_F(ConnectionLink, DropsASilentStreamBeforeTheSecondMissingHeartbeat)
{
    LogIn();
    const impl::HttpLimits limits = service.Requests().back().request.limits;
    EXPECT_EQ(service.Requests().back().Line(), "GET /v1/events");
    EXPECT_GT(limits.stallWindow, std::chrono::seconds(90));
    EXPECT_LT(limits.stallWindow, std::chrono::seconds(120));
    EXPECT_EQ(limits.stallBytes, 1);
    EXPECT_EQ(limits.total.count(), 0);
    EXPECT_EQ(limits.head, std::chrono::seconds(30)) << "the answer's head has a shorter deadline";
}

TEST_F(ConnectionLink, ALoginDoesNotWaitWhenRetryAfterIsTooLong)
{
    impl::HttpResponse busy = Problem(503, "busy");
    busy.headers.push_back({"Retry-After", "300"});
    for (const char* line : {"GET /v1/account", "GET /v1/events"}) {
        service.FailNext(Answer(line, busy));
        const std::size_t before = listener.States().size();
        const impl::Clock::Time begin = time->Now();
        ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
        ASSERT_TRUE(listener.WaitForStates(before + 2));
        EXPECT_EQ(listener.States().back(), api::eLoginFailed) << line;
        const auto errors = connection->GetLastLoginErrors();
        ASSERT_FALSE(errors.empty());
        EXPECT_EQ(errors.front().text2, L"Try again in 5 minutes.") << line;
        EXPECT_LT(time->Now() - begin, std::chrono::seconds(60)) << line;
    }
}

TEST_F(ConnectionLink, ALoginRetriesNothingAfterAMinute)
{
    std::string slow;
    service.onRequest = [&](const std::string& line) {
        if (line == slow)
            time->Advance(std::chrono::seconds(40)); // until the transport's timeout
    };
    for (const char* line : {"GET /v1/account", "GET /v1/events"}) {
        slow = line;
        const int requests = service.Count(line);
        service.FailNext(Drop(line));
        service.FailNext(Drop(line));
        const std::size_t before = listener.States().size();
        ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
        ASSERT_TRUE(listener.WaitForStates(before + 2));
        EXPECT_EQ(listener.States().back(), api::eLoginFailed) << line;
        EXPECT_EQ(service.Count(line) - requests, 2) << line;
    }
}

TEST_F(ConnectionLink, ALoginWaitsForASlowSnapshot)
{
    service.onRequest = [&](const std::string& line) {
        if (line == "GET /v1/account")
            time->Advance(std::chrono::hours(1));
    };
    LogIn();
    EXPECT_EQ(listener.States(), (States{1, 3}));
    impl::HttpLimits limits;
    for (const SentRequest& sent : service.Requests()) {
        if (sent.Line() == "GET /v1/account")
            limits = sent.request.limits;
    }
    EXPECT_EQ(limits.total.count(), 0) << "a login takes what it needs";
    EXPECT_EQ(limits.head, std::chrono::seconds(30)) << "deadline of the first byte";
    EXPECT_EQ(limits.stallWindow, std::chrono::seconds(30)) << "stall timeout";
}

TEST_F(ConnectionLink, FetchesANewSnapshotWhenTheCursorIsTooOld)
{
    LogIn();
    const std::int64_t lost = service.AddFileSilently(inbox, "lost.zip", "x");
    service.ForgetEvents();
    service.CloseStreams();
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), 0));
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{lost}));
    EXPECT_EQ(listener.Changes().size(), 1u) << "only the container that differs";
    const std::int64_t next = service.AddFile(inbox, "next.zip", "x");
    EXPECT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(next)));
}

TEST_F(ConnectionLink, FetchesANewSnapshotAfterAnUnreadableEvent)
{
    LogIn();
    const std::int64_t lost = service.AddFileSilently(inbox, "lost.zip", "x");
    service.SendOnStreams("event: file-added\ndata: {\"entry\":17}\n\n");
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), 0));
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{lost}));
}

TEST_F(ConnectionLink, IgnoresUnknownEvents)
{
    LogIn();
    service.SendOnStreams("event: console-moved\ndata: nonsense\n\n");
    const std::int64_t file = service.AddFile(inbox, "a.zip", "x");
    EXPECT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    EXPECT_EQ(service.Count("GET /v1/account"), 1);
}

} // namespace kesdk::test
