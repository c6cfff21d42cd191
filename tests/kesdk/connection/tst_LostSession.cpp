// Transfers whose session ends while they run.
#include "support/ConnectionFixture.h"

#include <utility>

namespace kesdk::test {

namespace {

// The session ends when the transfer is about to retry after a drop.
class LostInATransfer : public ConnectionFixture
{
protected:
    // The first request that begins so is dropped, after the service has ended the session.
    void LoseSessionAt(const std::string& line)
    {
        LogIn();
        service.onRequest = [this, line, isFirst = true](const std::string& begun) mutable {
            if (begun.compare(0, line.size(), line) != 0 || !std::exchange(isFirst, false))
                return;
            service.EndSessions("revoked");
            EXPECT_TRUE(listener.WaitForState(api::eNotLoggedIn));
        };
        service.FailNext(Drop(line));
    }

    void LogInAgain()
    {
        ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
        ASSERT_TRUE(listener.WaitForStates(5)); // connecting and logged in, twice; lost once
    }
};

} // namespace

TEST_F(LostInATransfer, AnUploadEndsWhenItsSessionEnds)
{
    LoseSessionAt("POST /v1/uploads");
    EXPECT_FALSE(Upload("a.zip", "x"));
    EXPECT_EQ(FirstText(), L"Your session has ended.");
    EXPECT_EQ(service.Count("POST /v1/uploads"), 1) << "asked again without a session";
    EXPECT_TRUE(service.FileIds(inbox).empty());
    LogInAgain();
    EXPECT_TRUE(Upload("a.zip", "x"));
    EXPECT_EQ(service.FileIds(inbox).size(), 1u);
}

TEST_F(LostInATransfer, ADownloadEndsWhenItsSessionEnds)
{
    const std::int64_t file = service.AddFile(inbox, "a.zip", "abc");
    const std::string line = "GET /v1/resources/" + std::to_string(file) + "/content";
    LoseSessionAt(line);
    const std::wstring path = folder.WidePath("a.zip");
    EXPECT_FALSE(connection->Download(file, path.c_str()));
    EXPECT_EQ(FirstText(), L"Your session has ended.");
    EXPECT_EQ(service.Count(line), 1) << "asked again without a session";
    LogInAgain();
    EXPECT_TRUE(connection->Download(file, path.c_str()));
}

// The plug-in takes a missing record for a file that is gone.
TEST_F(LostInATransfer, KnowsTheFurtherFilesOfTheTransfer)
{
    const std::int64_t file = service.AddFile(inbox, "a.zip", "abc");
    const std::int64_t next = service.AddFile(inbox, "b.zip", "abc");
    LoseSessionAt("GET /v1/resources/" + std::to_string(file) + "/content");
    const std::wstring path = folder.WidePath("a.zip");
    EXPECT_FALSE(connection->Download(file, path.c_str()));
    EXPECT_EQ(connection->GetResourceWithContent(next).name, L"b.zip");
    EXPECT_TRUE(connection->GetLastErrors().empty());
    EXPECT_FALSE(connection->Download(next, path.c_str()));
    EXPECT_EQ(FirstText(), L"Your session has ended.");
    EXPECT_FALSE(connection->Logout());
    EXPECT_EQ(connection->GetResourceWithContent(next).name, L"b.zip");
}

TEST_F(LostInATransfer, AFailedLoginIsNoEndedSession)
{
    LogIn();
    service.EndSessions("revoked");
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    ASSERT_TRUE(connection->Login(L"olga", L"wrong", nullptr, 0));
    ASSERT_TRUE(listener.WaitForState(api::eLoginFailed));
    EXPECT_FALSE(connection->Delete(1));
    EXPECT_EQ(FirstText(), L"You are not logged in.");
}

} // namespace kesdk::test
