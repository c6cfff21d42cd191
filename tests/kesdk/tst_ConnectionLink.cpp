// Loss of the link, and what the event stream brings when it is back.
#include "support/ConnectionFixture.h"

namespace kesdk::test {

namespace {

using States = std::vector<std::int32_t>;

using ConnectionLink = ConnectionFixture;

} // namespace

TEST_F(ConnectionLink, RetriesSnapshotAndStreamWhileItLogsIn)
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

TEST_F(ConnectionLink, MissesNothingWhileTheLinkIsLost)
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

TEST_F(ConnectionLink, TriesTheStreamAtOnceWhenAnotherRequestGotThrough)
{
    LetSleepsBlock();
    LogIn();
    service.SetOnline(false);
    ASSERT_TRUE(listener.WaitForState(api::eReconnecting));
    service.SetOnline(true);
    EXPECT_TRUE(connection->SendEnvironment({}));
    EXPECT_TRUE(listener.WaitForState(api::eLoginSuccessful));
}

TEST_F(ConnectionLink, AStreamMayMissOneCommentButNotTwo)
{
    LogIn();
    const impl::HttpLimits limits = service.Requests().back().request.limits;
    EXPECT_EQ(service.Requests().back().Line(), "GET /v1/events");
    EXPECT_GT(limits.stallWindow, std::chrono::seconds(90));
    EXPECT_LT(limits.stallWindow, std::chrono::seconds(120));
    EXPECT_EQ(limits.stallBytes, 1);
    EXPECT_EQ(limits.total.count(), 0);
}

TEST_F(ConnectionLink, FetchesTheSnapshotAnewWhenItCannotResume)
{
    LogIn();
    const std::int64_t lost = service.AddFileSilently(inbox, "lost.zip", "x");
    service.ForgetEvents();
    service.CloseStreams();
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), 0));
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{lost}));
    EXPECT_EQ(listener.Changes().size(), 1u) << "only what differs";
    const std::int64_t next = service.AddFile(inbox, "next.zip", "x");
    EXPECT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(next)));
}

TEST_F(ConnectionLink, FetchesTheSnapshotAnewAfterAnEventItCannotRead)
{
    LogIn();
    const std::int64_t lost = service.AddFileSilently(inbox, "lost.zip", "x");
    service.SendOnStreams("event: file-added\ndata: {\"entry\":17}\n\n");
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), 0));
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{lost}));
}

TEST_F(ConnectionLink, IgnoresEventsOfNoConcern)
{
    LogIn();
    service.SendOnStreams("event: console-moved\ndata: nonsense\n\n");
    const std::int64_t file = service.AddFile(inbox, "a.zip", "x");
    EXPECT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    EXPECT_EQ(service.Count("GET /v1/account"), 1);
}

} // namespace kesdk::test
