// The contract suite: sessions, errors and listeners.
#include "contract/ContractFixture.h"

namespace kesdk::test {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(Contract);

namespace {

using States = std::vector<std::int32_t>;
constexpr const wchar_t* kEnded = L"Your session has ended.";

} // namespace

TEST_P(Contract, FailsEveryCallAtOnceWithoutASession)
{
    EXPECT_FALSE(connection->IsLoggedIn());
    EXPECT_TRUE(connection->GetProjects().empty());
    EXPECT_FALSE(FirstText().empty());
    EXPECT_TRUE(connection->GetProjectResources(1).empty());
    EXPECT_EQ(connection->GetResourceWithContent(1).id, 0);
    EXPECT_EQ(connection->GetCurrentUser().id, 0);
    EXPECT_FALSE(connection->CreateUserInbox(L"Curves"));
    EXPECT_FALSE(Upload("a.zip", "x", {1}));
    EXPECT_FALSE(connection->Download(1, folder.WidePath("b.zip").c_str()));
    EXPECT_FALSE(connection->Delete(1));
    EXPECT_FALSE(connection->SendEnvironment({}));
    EXPECT_FALSE(connection->MeasDeviceConnected({}, true));
    EXPECT_EQ(connection->MeasDeviceDisconnected({}, false), 0);
    EXPECT_FALSE(connection->ReportPosition({1, 1.0, 1.0}));
    EXPECT_FALSE(FirstText().empty());
    EXPECT_FALSE(connection->Logout());
    EXPECT_FALSE(folder.Has("b.zip"));
}

TEST_P(Contract, ReportsALoginAsStates1And3)
{
    LogIn();
    EXPECT_EQ(listener.States(), (States{1, 3}));
    EXPECT_TRUE(connection->IsLoggedIn());
    EXPECT_EQ(connection->GetCurrentUser().name, backend->UserName());
    EXPECT_NE(connection->GetCurrentUser().id, 0);
    EXPECT_TRUE(connection->GetLastLoginErrors().empty());
}

TEST_P(Contract, ReportsAFailedLoginAsStates1And4)
{
    ASSERT_TRUE(connection->Login(backend->UserName(), L"wrong password", nullptr, 0));
    ASSERT_TRUE(listener.WaitForState(api::eLoginFailed));
    EXPECT_EQ(listener.States(), (States{1, 4}));
    EXPECT_FALSE(connection->IsLoggedIn());
    ASSERT_FALSE(connection->GetLastLoginErrors().empty());
    EXPECT_FALSE(connection->GetLastLoginErrors().front().text1.empty());
    EXPECT_TRUE(connection->GetLastErrors().empty()) << "a login has its own errors";
}

TEST_P(Contract, ANewLoginClearsTheErrorsOfTheLast)
{
    ASSERT_TRUE(connection->Login(backend->UserName(), L"wrong password", nullptr, 0));
    ASSERT_TRUE(listener.WaitForState(api::eLoginFailed));
    LogIn();
    EXPECT_TRUE(connection->GetLastLoginErrors().empty());
}

TEST_P(Contract, IgnoresASecondLoginWhileOneIsInProgress)
{
    backend->HoldLogins();
    ASSERT_TRUE(connection->Login(backend->UserName(), Backend::kPassword, nullptr, 0));
    EXPECT_TRUE(connection->Login(backend->UserName(), L"another password", nullptr, 0));
    EXPECT_FALSE(connection->IsLoggedIn());
    backend->ReleaseLogins();
    ASSERT_TRUE(listener.WaitForState(api::eLoginSuccessful));
    EXPECT_EQ(listener.States(), (States{1, 3}));
}

TEST_P(Contract, ReportsALogoutAsState0)
{
    LogIn();
    EXPECT_TRUE(connection->Logout());
    EXPECT_FALSE(connection->IsLoggedIn());
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    EXPECT_EQ(listener.States(), (States{1, 3, 0}));
    EXPECT_FALSE(connection->Logout());
    EXPECT_FALSE(FirstText().empty());
    EXPECT_TRUE(connection->GetProjects().empty());
}

TEST_P(Contract, LogsInAgainAfterALogout)
{
    LogIn();
    ASSERT_TRUE(connection->Logout());
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    LogIn();
    EXPECT_EQ(listener.States(), (States{1, 3, 0, 1, 3}));
    EXPECT_EQ(connection->GetProjects().size(), 7u);
}

TEST_P(Contract, ReportsALostSessionOnceAsState0)
{
    LogIn();
    backend->EndSession();
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    EXPECT_FALSE(connection->IsLoggedIn());
    EXPECT_TRUE(connection->GetProjects().empty());
    EXPECT_FALSE(connection->SendEnvironment({}));
    EXPECT_EQ(listener.States(), (States{1, 3, 0}));
}

// The plug-in takes a missing record for a file that is gone.
TEST_P(Contract, KnowsItsFilesAfterALostSession)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"Curves");
    const std::int64_t file = backend->PutFile(inbox, L"map.zip", "a map");
    ASSERT_TRUE(WaitForChange(inbox, file));
    backend->EndSession();
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    EXPECT_EQ(connection->GetResourceWithContent(file).name, L"map.zip");
    EXPECT_TRUE(connection->GetLastErrors().empty());
    EXPECT_FALSE(connection->Download(file, folder.WidePath("map.zip").c_str()));
    EXPECT_EQ(FirstText(), kEnded);
    EXPECT_FALSE(connection->Delete(file));
    EXPECT_EQ(FirstText(), kEnded);
}

TEST_P(Contract, ForgetsItsFilesAtALogout)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"Curves");
    ASSERT_TRUE(connection->Logout());
    EXPECT_EQ(connection->GetResourceWithContent(inbox).id, 0);
    EXPECT_FALSE(FirstText().empty());
    EXPECT_NE(FirstText(), kEnded) << "the operator ended it";
}

TEST_P(Contract, ATransferTellsThatItsSessionEnded)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"Curves");
    // A small file can arrive before the check runs.
    const std::string content(8U << 20U, 'm');
    const std::int64_t file = backend->PutFile(inbox, L"map.zip", content);
    ASSERT_TRUE(WaitForChange(inbox, file));
    connection->SetAbortCheck([this] {
        backend->EndSession();
        return listener.WaitForState(api::eNotLoggedIn);
    });
    EXPECT_FALSE(connection->Download(file, folder.WidePath("map.zip").c_str()));
    EXPECT_EQ(FirstText(), kEnded);
    EXPECT_FALSE(folder.Has("map.zip"));
}

TEST_P(Contract, EachCallClearsTheErrorsOfTheLastCall)
{
    LogIn();
    EXPECT_FALSE(connection->Delete(987'654));
    EXPECT_FALSE(connection->GetLastErrors().empty());
    EXPECT_EQ(connection->GetProjects().size(), 7u);
    EXPECT_TRUE(connection->GetLastErrors().empty());
}

TEST_P(Contract, ALoginClearsTheErrorsOfTheLastCall)
{
    EXPECT_FALSE(connection->Delete(1));
    EXPECT_FALSE(connection->GetLastErrors().empty());
    LogIn();
    EXPECT_TRUE(connection->GetLastErrors().empty());
}

TEST_P(Contract, CallsListenersOnOneThreadThatIsNotTheCallers)
{
    LogIn();
    const std::thread::id first = listener.Thread();
    EXPECT_NE(first, std::this_thread::get_id());
    const std::int64_t inbox = MakeInbox(L"Curves");
    ASSERT_TRUE(Upload("a.zip", "x", {inbox}));
    ASSERT_TRUE(WaitForChange(inbox, Files(inbox).at(0)));
    EXPECT_EQ(listener.Thread(), first);
}

TEST_P(Contract, DoesNotCallAnUnsubscribedListener)
{
    RecordingListener other;
    connection->Subscribe(&other);
    LogIn();
    ASSERT_TRUE(other.WaitForState(api::eLoginSuccessful));
    connection->Unsubscribe(&other);
    ASSERT_TRUE(connection->Logout());
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    EXPECT_EQ(other.States(), (States{1, 3}));
}

TEST_P(Contract, AListenerMayUnsubscribeItselfInACall)
{
    class Once : public api::IServerConnectionNotification
    {
    public:
        explicit Once(api::IEnterpriseConnection& from) : m_from(from) {}
        void onServerConnectionChange(const api::ConnectionState&) override
        {
            ++calls;
            m_from.Unsubscribe(this);
        }
        int calls = 0;

    private:
        api::IEnterpriseConnection& m_from;
    };
    Once once(*connection);
    connection->Subscribe(&once);
    LogIn();
    connection->Unsubscribe(&once); // waits for a call that is still running
    EXPECT_EQ(once.calls, 1);
}

TEST_P(Contract, CallsNoListenerAfterTheDestructor)
{
    LogIn();
    connection.reset(); // with the listener still subscribed
    const States before = listener.States();
    EXPECT_EQ(before, (States{1, 3}));
}

TEST_P(Contract, TheAbortCheckFailsATransferButNotALogout)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"Curves");
    connection->SetAbortCheck([] { return true; });
    EXPECT_FALSE(Upload("a.zip", "x", {inbox}));
    EXPECT_FALSE(connection->Delete(1));
    EXPECT_TRUE(connection->Logout());
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
}

TEST_P(Contract, SendsReports)
{
    LogIn();
    api::Environment environment;
    environment.timeStampMs = 1'700'000'000'000;
    environment.console.consoleString = L"Konsole";
    environment.controller.deviceKind = L"Controller";
    EXPECT_TRUE(connection->SendEnvironment(environment)) << FirstText().size();
    api::Environment::MeasDeviceReport report;
    report.timeStampMs = 1'700'000'000'000;
    report.device.deviceKind = L"GPS Receiver";
    report.state = api::Environment::eConnected;
    EXPECT_TRUE(connection->MeasDeviceConnected(report, true));
    report.state = api::Environment::eDisconnected;
    EXPECT_NE(connection->MeasDeviceDisconnected(report, false), 0);
    EXPECT_TRUE(connection->ReportPosition({1'700'000'000, 52.0, 5.0}));
}

} // namespace kesdk::test
