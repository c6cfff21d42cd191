// When a connection reports the files that it has fetched.
#include "support/FetchesFixture.h"

namespace kesdk::test {

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

TEST_F(FetchesOfAConnection, AreReportedInSeveralRequestsAfterALargeBatch)
{
    constexpr std::size_t kMoreThanARequest = 100;
    Ids files{first, second};
    while (files.size() < kMoreThanARequest)
        files.push_back(service.AddFile(inbox, std::to_string(files.size()), "content"));
    LogIn();
    for (const std::int64_t file : files)
        ASSERT_TRUE(Download(file));
    idle->Pass();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 2));
    AwaitTwoPositions();
    Ids reported;
    for (const Ids& report : Reports())
        reported.insert(reported.end(), report.begin(), report.end());
    EXPECT_EQ(reported, files);
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
