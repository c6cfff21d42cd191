// The console's results of unpacking in the reports of a connection.
#include "connection/UnpackingResults.h"
#include "kesdkimpl/Unpacking.h"
#include "support/FetchesFixture.h"

#include <new>

namespace kesdk::test {

TEST_F(FetchesOfAConnection, AreReportedWithTheResultsOfUnpacking)
{
    LogIn();
    ASSERT_TRUE(Download(first));
    ASSERT_TRUE(Download(second));
    Unpack(first);
    Unpack(second, "the archive is damaged");
    idle->Pass();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 1));
    AwaitTwoPositions();
    EXPECT_EQ(Reports(), (std::vector<Ids>{{first, second}}));
    EXPECT_TRUE(TellsUnpacked());
    EXPECT_EQ(Bodies().at(0)[1]["unpack_error"], "the archive is damaged");
}

TEST_F(FetchesOfAConnection, AreReportedAgainWhenTheResultComesLater)
{
    LogIn();
    ASSERT_TRUE(Download(first));
    AwaitTwoPositions();
    ASSERT_EQ(service.Count(kFetches), 1);
    EXPECT_FALSE(TellsUnpacked());
    // The fetches do not follow a position that is refused: the thread has nothing left to send.
    service.FailNext(Answer(kPositions, Problem(422, "unprocessable")));
    ASSERT_TRUE(ReportPosition());
    ASSERT_TRUE(service.WaitForRequests(kPositions, 3));
    Unpack(first);
    idle->Pass();
    ASSERT_TRUE(service.WaitForRequests(kFetches, 2));
    EXPECT_TRUE(TellsUnpacked());
}

TEST_F(FetchesOfAConnection, SendAResultThatCameWhileLoggedOut)
{
    LogIn();
    ASSERT_TRUE(Download(first));
    ASSERT_TRUE(connection->Logout());
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    Unpack(first);
    idle->Pass();
    LogInAgain();
    EXPECT_EQ(service.Count(kFetches), 0);
    AwaitTwoPositions();
    ASSERT_EQ(Reports(), (std::vector<Ids>{{first}}));
    EXPECT_TRUE(TellsUnpacked());
}

// The archive stays if the console is killed between the download and the unpacking.
TEST_F(FetchesOfAConnection, HaveAResultFromAfterARestart)
{
    LogIn();
    ASSERT_TRUE(Download(first));
    AwaitTwoPositions();
    Restart();
    Unpack(first); // nobody is logged in
    LogInAgain();
    AwaitTwoPositions();
    ASSERT_EQ(service.Count(kFetches), 2);
    EXPECT_TRUE(TellsUnpacked());
}

TEST(UnpackingResults, DropAResultIfTheMemoryIsFull)
{
    int results = 0;
    const impl::UnpackingResults receiver([&results](const char*, const char*) {
        ++results;
        throw std::bad_alloc();
    });
    kesdkimpl::NoteUnpacking("first.zip", nullptr);
    EXPECT_EQ(results, 1);
}

TEST_F(FetchesOfAConnection, IgnoreAResultAfterTheConnectionHasEnded)
{
    LogIn();
    ASSERT_TRUE(Download(first));
    connection->Unsubscribe(&listener);
    connection.reset();
    Unpack(first);
    Restart();
    LogInAgain();
    AwaitTwoPositions();
    EXPECT_FALSE(TellsUnpacked());
}

} // namespace kesdk::test
