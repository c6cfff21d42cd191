// Login, logout and loss of the session.
#include "support/ConnectionFixture.h"

#include <future>
#include <utility>

namespace kesdk::test {

namespace {

using States = std::vector<std::int32_t>;

using ConnectionSession = ConnectionFixture;

} // namespace

TEST_F(ConnectionSession, LogsInWithThreeRequests)
{
    EXPECT_FALSE(connection->IsLoggedIn());
    LogIn();
    EXPECT_TRUE(connection->IsLoggedIn());
    EXPECT_EQ(listener.States(), (States{1, 3}));
    EXPECT_EQ(connection->GetCurrentUser().name, L"olga");
    EXPECT_EQ(service.Count(""), 3);
    EXPECT_EQ(service.Count("GET /v1/events"), 1);
    EXPECT_TRUE(connection->GetLastLoginErrors().empty());
}

TEST_F(ConnectionSession, AsksForACompressedSnapshot)
{
    LogIn();
    for (const SentRequest& sent : service.Requests())
        EXPECT_EQ(sent.request.acceptsGzip, sent.Line() == "GET /v1/account");
}

TEST_F(ConnectionSession, SendsThePasswordOnlyInTheLogin)
{
    LogIn();
    for (const SentRequest& sent : service.Requests()) {
        EXPECT_EQ(sent.content.find("correct horse") != std::string::npos,
                  sent.Line() == "POST /v1/sessions");
        EXPECT_EQ(sent.Header("Authorization").empty(), sent.Line() == "POST /v1/sessions");
    }
}

TEST_F(ConnectionSession, FailsWithAWrongPassword)
{
    ASSERT_TRUE(connection->Login(L"olga", L"wrong", nullptr, 0));
    ASSERT_TRUE(listener.WaitForState(api::eLoginFailed));
    EXPECT_EQ(listener.States(), (States{1, 4}));
    EXPECT_FALSE(connection->IsLoggedIn());
    const auto errors = connection->GetLastLoginErrors();
    ASSERT_EQ(errors.size(), 1u);
    EXPECT_EQ(errors.front().text1, L"The user name or the password is wrong.");
    EXPECT_TRUE(connection->GetLastErrors().empty());
    EXPECT_EQ(service.Count(""), 1) << "a wrong password is not retried";
    LogIn();
    EXPECT_TRUE(connection->GetLastLoginErrors().empty());
}

TEST_F(ConnectionSession, ReportsHowLongALoginIsLocked)
{
    impl::HttpResponse locked = Problem(429, "login-throttled");
    locked.headers.push_back({"Retry-After", "90"});
    service.FailNext(Answer("POST /v1/sessions", locked));
    ASSERT_TRUE(connection->Login(L"olga", L"x", nullptr, 0));
    ASSERT_TRUE(listener.WaitForState(api::eLoginFailed));
    EXPECT_EQ(connection->GetLastLoginErrors().front().text1,
              L"Too many failed logins: the account is locked for 90 seconds.");
}

TEST_F(ConnectionSession, FailsWithoutALink)
{
    service.SetOnline(false);
    ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
    ASSERT_TRUE(listener.WaitForState(api::eLoginFailed));
    EXPECT_EQ(connection->GetLastLoginErrors().front().text1, L"The service does not answer.");
}

TEST_F(ConnectionSession, FailsAndEndsItsTokenWithoutAStream)
{
    for (int i = 0; i < 3; ++i)
        service.FailNext(Drop("GET /v1/events"));
    ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
    ASSERT_TRUE(listener.WaitForState(api::eLoginFailed));
    EXPECT_EQ(listener.States(), (States{1, 4}));
    EXPECT_EQ(service.Count("DELETE /v1/sessions/current"), 1);
    EXPECT_FALSE(connection->IsLoggedIn());
}

TEST_F(ConnectionSession, FailsWhenTheAnswerIsUnreadable)
{
    service.FailNext(Answer("POST /v1/sessions", MakeResponse(201, "<html>")));
    ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
    ASSERT_TRUE(listener.WaitForState(api::eLoginFailed));
    EXPECT_EQ(connection->GetLastLoginErrors().front().code,
              static_cast<std::int32_t>(impl::EErrorCode::eBadAnswer));
}

TEST_F(ConnectionSession, LogoutEndsTheSessionAndItsStream)
{
    LogIn();
    EXPECT_TRUE(connection->Logout());
    EXPECT_FALSE(connection->IsLoggedIn());
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    EXPECT_EQ(listener.States(), (States{1, 3, 0}));
    EXPECT_EQ(service.Count("DELETE /v1/sessions/current"), 1);
    ASSERT_TRUE(service.WaitForStreams(0));
    EXPECT_FALSE(connection->Logout());
    EXPECT_EQ(FirstText(), L"You are not logged in.");
}

TEST_F(ConnectionSession, LogoutSucceedsWithoutALink)
{
    LogIn();
    service.SetOnline(false);
    EXPECT_TRUE(connection->Logout());
    EXPECT_FALSE(connection->IsLoggedIn());
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
}

TEST_F(ConnectionSession, LogoutIgnoresTheAbortCheck)
{
    LogIn();
    connection->SetAbortCheck([] { return true; });
    EXPECT_TRUE(connection->Logout());
    EXPECT_EQ(service.Count("DELETE /v1/sessions/current"), 1);
}

TEST_F(ConnectionSession, ALoginReplacesAnOpenSession)
{
    LogIn();
    ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
    ASSERT_TRUE(listener.WaitForStates(4));
    EXPECT_EQ(listener.States(), (States{1, 3, 1, 3}));
    EXPECT_EQ(service.Count("DELETE /v1/sessions/current"), 1);
    ASSERT_TRUE(service.WaitForStreams(1));
}

TEST_F(ConnectionSession, EndsTheReplacedSessionAlsoWhenItsLoginWasReplacedToo)
{
    LogIn();
    std::promise<void> isHeld;
    std::promise<void> mayContinue;
    service.onRequest = [&, isFirst = true](const std::string& line) mutable {
        if (line == "GET /v1/events" && std::exchange(isFirst, false)) {
            isHeld.set_value();
            mayContinue.get_future().wait();
        }
    };
    service.CloseStreams();
    isHeld.get_future().wait(); // the session's thread is blocked
    EXPECT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
    EXPECT_TRUE(connection->Logout());
    EXPECT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
    mayContinue.set_value();
    EXPECT_TRUE(service.WaitForRequests("DELETE /v1/sessions/current", 1));
    ASSERT_TRUE(service.WaitForStreams(1));
}

TEST_F(ConnectionSession, AFailedLoginLeavesNoSession)
{
    LogIn();
    ASSERT_TRUE(connection->Login(L"olga", L"wrong", nullptr, 0));
    ASSERT_TRUE(listener.WaitForState(api::eLoginFailed));
    EXPECT_FALSE(connection->IsLoggedIn());
    EXPECT_TRUE(connection->GetProjects().empty());
}

TEST_F(ConnectionSession, ReportsOnceThatTheServiceEndedTheSession)
{
    LogIn();
    service.EndSessions("revoked");
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    EXPECT_FALSE(connection->IsLoggedIn());
    EXPECT_FALSE(connection->Logout());
    EXPECT_EQ(listener.States(), (States{1, 3, 0}));
    ASSERT_TRUE(service.WaitForStreams(0));
}

TEST_F(ConnectionSession, ARefusedTokenEndsTheSession)
{
    LogIn();
    service.RevokeTokens();
    EXPECT_FALSE(connection->SendEnvironment({}));
    EXPECT_EQ(FirstText(), L"Your session has ended.");
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    EXPECT_EQ(listener.States(), (States{1, 3, 0}));
    EXPECT_FALSE(connection->IsLoggedIn());
    ASSERT_TRUE(service.WaitForStreams(0));
}

TEST_F(ConnectionSession, ATokenThatExpiredWithoutALinkEndsTheSession)
{
    LogIn();
    service.RevokeTokens();
    service.CloseStreams();
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    EXPECT_FALSE(connection->IsLoggedIn());
}

TEST_F(ConnectionSession, ARefusedPositionEndsTheSession)
{
    LogIn();
    service.RevokeTokens();
    EXPECT_TRUE(connection->ReportPosition({1, 52.0, 5.0}));
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    EXPECT_FALSE(connection->ReportPosition({1, 52.0, 5.0}));
}

TEST_F(ConnectionSession, IgnoresASecondLoginWhileOneIsInProgress)
{
    service.onRequest = [&](const std::string& line) {
        if (line == "GET /v1/account") {
            EXPECT_TRUE(connection->Login(L"olga", L"another password", nullptr, 0));
        }
    };
    LogIn();
    EXPECT_EQ(listener.States(), (States{1, 3}));
    EXPECT_EQ(service.Count("POST /v1/sessions"), 1);
}

TEST_F(ConnectionSession, DestructionEndsTheStreamWithoutANotification)
{
    LogIn();
    connection.reset(); // with the listener still subscribed
    EXPECT_EQ(service.StreamCount(), 0);
    EXPECT_EQ(listener.States(), (States{1, 3}));
}

TEST_F(ConnectionSession, DestructionEndsTheSessionOnTheService)
{
    LogIn();
    connection.reset();
    EXPECT_EQ(service.Count("DELETE /v1/sessions/current"), 1);
}

TEST_F(ConnectionSession, DestructionDoesNotEndASessionTwice)
{
    LogIn();
    ASSERT_TRUE(connection->Logout());
    connection.reset();
    EXPECT_EQ(service.Count("DELETE /v1/sessions/current"), 1);
}

TEST_F(ConnectionSession, DestructionEndsTheSessionOfAnUnfinishedLogin)
{
    LetSleepsBlock();
    service.FailNext(Drop("GET /v1/account"));
    ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
    ASSERT_TRUE(service.WaitForRequests("GET /v1/account", 1));
    ASSERT_TRUE(listener.WaitForState(api::eLoginInProgress)); // else the destructor may come first
    connection.reset(); // the login has a token and waits to retry the account
    ASSERT_EQ(service.Count("DELETE /v1/sessions/current"), 1);
    const SentRequest last = service.Requests().back();
    EXPECT_EQ(last.Line(), "DELETE /v1/sessions/current");
    EXPECT_EQ(last.Header("Authorization"), "Bearer token-1");
    EXPECT_GT(last.request.limits.total.count(), 0);
    EXPECT_LE(last.request.limits.total, std::chrono::seconds(2));
    EXPECT_EQ(listener.States(), (States{1}));
}

TEST_F(ConnectionSession, DestructionTriesOnceToEndTheSessionOfAnUnfinishedLogin)
{
    LetSleepsBlock();
    service.FailNext(Drop("GET /v1/account"));
    service.FailNext(Drop("DELETE /v1/sessions/current"));
    ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
    ASSERT_TRUE(service.WaitForRequests("GET /v1/account", 1));
    connection.reset();
    EXPECT_EQ(service.Count("DELETE /v1/sessions/current"), 1);
}

TEST_F(ConnectionSession, CallsListenersOnAnotherThread)
{
    LogIn();
    EXPECT_NE(listener.Thread(), std::this_thread::get_id());
}

TEST_F(ConnectionSession, FailsEveryCallAtOnceWithoutASession)
{
    EXPECT_TRUE(connection->GetProjects().empty());
    EXPECT_EQ(FirstText(), L"You are not logged in.");
    EXPECT_TRUE(connection->GetProjectResources(1).empty());
    EXPECT_EQ(connection->GetResourceWithContent(inbox).id, 0);
    EXPECT_EQ(connection->GetCurrentUser().id, 0);
    EXPECT_FALSE(connection->CreateUserInbox(L"Curves"));
    EXPECT_FALSE(Upload("a.zip", "x"));
    EXPECT_FALSE(connection->Download(1, folder.WidePath("b").c_str()));
    EXPECT_FALSE(connection->Delete(1));
    EXPECT_FALSE(connection->SendEnvironment({}));
    EXPECT_FALSE(connection->MeasDeviceConnected({}, true));
    EXPECT_EQ(connection->MeasDeviceDisconnected({}, false), 0);
    EXPECT_FALSE(connection->ReportPosition({}));
    EXPECT_EQ(FirstText(), L"You are not logged in.");
    EXPECT_EQ(service.Count(""), 0);
}

} // namespace kesdk::test
