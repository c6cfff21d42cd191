// Calls while the service cannot be reached and an earlier snapshot is known.
#include "support/ConnectionFixture.h"

#include <nlohmann/json.hpp>

namespace kesdk::test {

namespace {

constexpr const char* kReport = "PUT /v1/environment";

class OutOfReach : public ConnectionFixture
{
protected:
    OutOfReach()
    {
        LetSleepsBlock(); // a lost stream stays lost until a request succeeds
        LogIn();
    }

    void LoseTheLink()
    {
        service.SetOnline(false);
        ASSERT_TRUE(listener.WaitForState(api::eReconnecting));
    }
    static api::Environment At(std::int64_t timeStampMs)
    {
        api::Environment environment;
        environment.timeStampMs = timeStampMs;
        return environment;
    }
    // The times of the reports that the service has received.
    std::vector<std::int64_t> ReportTimes() const
    {
        std::vector<std::int64_t> times;
        for (const SentRequest& sent : service.Requests()) {
            if (sent.Line() == kReport)
                times.push_back(nlohmann::json::parse(sent.content)["timestamp_ms"]);
        }
        return times;
    }
};

} // namespace

TEST_F(OutOfReach, AnswersEveryGetterFromTheSnapshot)
{
    const std::int64_t file = service.AddFile(inbox, "a.zip", "abc");
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    LoseTheLink();
    const auto projects = connection->GetProjects();
    ASSERT_EQ(projects.size(), 7u);
    for (const api::EnterpriseProject& project : projects) {
        EXPECT_EQ(connection->GetProjectResources(project.id).size(),
                  project.name == L"To Console" ? 1u : 0u);
        EXPECT_TRUE(connection->GetLastErrors().empty());
        EXPECT_EQ(connection->GetResourceWithContent(project.id).name, project.name);
    }
    EXPECT_EQ(connection->GetCurrentUser().id, user);
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{file}));
    EXPECT_EQ(connection->GetResourceWithContent(file).name, L"a.zip");
    EXPECT_TRUE(connection->GetLastErrors().empty());
    EXPECT_TRUE(connection->IsLoggedIn());
}

TEST_F(OutOfReach, CreatingAKnownInboxSucceedsWithoutARequest)
{
    LoseTheLink();
    EXPECT_TRUE(connection->CreateUserInbox(L"To Console"));
    EXPECT_TRUE(connection->GetLastErrors().empty());
    EXPECT_FALSE(connection->CreateUserInbox(L"Curves"))
        << "only the service can create this inbox";
    EXPECT_EQ(FirstText(), L"The service does not answer.");
}

TEST_F(OutOfReach, CreatesTheUsersInboxBesideAnotherUsers)
{
    service.AddInbox(service.AddUser("petra", "secret secret"), "Curves");
    EXPECT_TRUE(connection->CreateUserInbox(L"Curves"));
    EXPECT_EQ(service.Count("POST /v1/projects/Curves"), 1);
}

// The caller lists nothing until the report after a login has succeeded.
TEST_F(OutOfReach, SendsTheLatestEnvironmentReportWhenTheLinkIsBack)
{
    LoseTheLink();
    EXPECT_TRUE(connection->SendEnvironment(At(1)));
    EXPECT_TRUE(connection->SendEnvironment(At(2)));
    EXPECT_TRUE(connection->GetLastErrors().empty());
    EXPECT_FALSE(connection->CreateUserInbox(L"Curves"));
    EXPECT_TRUE(ReportTimes().empty());
    service.SetOnline(true);
    EXPECT_TRUE(Upload("a.zip", "x"));
    EXPECT_EQ(ReportTimes(), (std::vector<std::int64_t>{2})) << "only the latest report";
    EXPECT_TRUE(Upload("b.zip", "x"));
    EXPECT_EQ(ReportTimes().size(), 1u);
}

TEST_F(OutOfReach, KeepsAReportUntilItIsSent)
{
    LoseTheLink();
    EXPECT_TRUE(connection->SendEnvironment(At(1)));
    service.SetOnline(true);
    service.FailNext(Drop(kReport));
    EXPECT_TRUE(Upload("a.zip", "x"));
    EXPECT_EQ(service.Count(kReport), 1) << "an upload tries the report once";
    EXPECT_TRUE(Upload("b.zip", "x"));
    EXPECT_EQ(service.Count(kReport), 2);
    EXPECT_TRUE(Upload("c.zip", "x"));
    EXPECT_EQ(service.Count(kReport), 2);
}

// The caller removes the file after the check. A later change of the file would be lost.
TEST_F(OutOfReach, FailsWhenTheFileChangesWhileAReportIsSent)
{
    LoseTheLink();
    EXPECT_TRUE(connection->SendEnvironment(At(1)));
    service.SetOnline(true);
    service.onRequest = [this](const std::string& line) {
        if (line == kReport)
            folder.Write("a.zip", "the new report");
    };
    EXPECT_FALSE(Upload("a.zip", "old"));
    EXPECT_EQ(FirstText(), L"a.zip changed while it was being sent.");
    EXPECT_EQ(ReportTimes().size(), 1u);
    EXPECT_TRUE(service.FileIds(inbox).empty());
    EXPECT_EQ(folder.Read("a.zip"), "the new report");
}

TEST_F(OutOfReach, SendsNothingAfterTheLastCheckOfTheFile)
{
    LoseTheLink();
    EXPECT_TRUE(connection->SendEnvironment(At(1)));
    service.SetOnline(true);
    service.FailNext(Drop(kReport)); // the report stays pending
    service.onRequest = [this, reports = 0](const std::string& line) mutable {
        if (line == kReport && ++reports > 1)
            folder.Write("a.zip", "the new report");
    };
    EXPECT_TRUE(Upload("a.zip", "old"));
    EXPECT_EQ(folder.Read("a.zip"), "old");
    EXPECT_EQ(service.Count(kReport), 1);
}

TEST_F(OutOfReach, DropsAReportWhenTheSessionEnds)
{
    LoseTheLink();
    EXPECT_TRUE(connection->SendEnvironment(At(1)));
    service.SetOnline(true);
    ASSERT_TRUE(connection->Logout());
    ASSERT_TRUE(listener.WaitForState(api::eNotLoggedIn));
    LogIn();
    ASSERT_TRUE(listener.WaitForStates(6));
    EXPECT_TRUE(Upload("a.zip", "x"));
    EXPECT_TRUE(ReportTimes().empty());
}

// If the call failed, the caller would list nothing.
TEST_F(OutOfReach, DropsAReportThatTheServiceRefuses)
{
    int sent = 0;
    for (const auto& answer : {Problem(422, "unprocessable"), Problem(413, "content-too-large")}) {
        service.FailNext(Answer(kReport, answer));
        EXPECT_TRUE(connection->SendEnvironment(At(1))) << answer.status;
        EXPECT_TRUE(connection->GetLastErrors().empty());
        EXPECT_TRUE(Upload("a.zip", "x"));
        EXPECT_EQ(service.Count(kReport), ++sent) << answer.status;
    }
}

// For example a service whose disk is full: it still answers every question.
TEST_F(OutOfReach, KeepsAReportThatAServiceInTroubleDoesNotTake)
{
    int sent = 0;
    for (const auto& answer : {Problem(500, "internal"), Problem(507, "insufficient-storage")}) {
        service.FailNext(Answer(kReport, answer));
        EXPECT_TRUE(connection->SendEnvironment(At(1))) << answer.status;
        EXPECT_TRUE(connection->GetLastErrors().empty());
        EXPECT_TRUE(Upload("a.zip", "x"));
        EXPECT_EQ(service.Count(kReport), sent += 2) << answer.status;
    }
}

} // namespace kesdk::test
