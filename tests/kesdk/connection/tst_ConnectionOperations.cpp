// The calls of a session, and what they report to listeners.
#include "support/ConnectionFixture.h"

#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

namespace kesdk::test {

namespace {

using Ids = std::vector<std::int64_t>;

class ConnectionOperations : public ConnectionFixture
{
protected:
    ConnectionOperations() { LogIn(); }

    unsigned long InboxId() const { return static_cast<unsigned long>(inbox); }
};

} // namespace

TEST_F(ConnectionOperations, AnswersFromTheSnapshot)
{
    const std::int64_t file = service.AddFile(inbox, "a.zip", "abc");
    ASSERT_TRUE(listener.WaitForChange(InboxId(), static_cast<long>(file)));
    const int before = service.Count("");
    const auto projects = connection->GetProjects();
    ASSERT_EQ(projects.size(), 7u);
    EXPECT_EQ(projects[0].name, L"To Console");
    EXPECT_EQ(projects[6].name, L"Project Lines");
    for (const api::EnterpriseProject& project : projects)
        static_cast<void>(connection->GetProjectResources(project.id));
    const auto resources = connection->GetProjectResources(projects[0].id);
    ASSERT_EQ(resources.size(), 1u);
    EXPECT_EQ(resources.front().kind, 2);
    EXPECT_EQ(resources.front().ownerUserId, connection->GetCurrentUser().id);
    EXPECT_EQ(resources.front().content.front().name, L"a.zip");
    EXPECT_EQ(connection->GetResourceWithContent(file).sizeBytes, 3);
    EXPECT_EQ(connection->GetResourceWithContent(file).kind, 4);
    EXPECT_EQ(connection->GetResourceWithContent(projects[0].id).kind, 1);
    EXPECT_EQ(service.Count(""), before) << "no request was sent";
}

TEST_F(ConnectionOperations, AsksTheServiceForAFileThatTheSnapshotDoesNotHave)
{
    const std::int64_t file = service.AddFileSilently(inbox, "a.zip", "abc");
    const auto found = connection->GetResourceWithContent(file);
    EXPECT_EQ(found.id, file);
    EXPECT_EQ(found.name, L"a.zip");
    EXPECT_EQ(found.kind, 4);
    EXPECT_EQ(connection->GetResourceWithContent(999).id, 0);
    EXPECT_EQ(connection->GetLastErrors().front().httpStatus, 404);
    EXPECT_TRUE(connection->GetProjectResources(999).empty());
    EXPECT_FALSE(connection->GetLastErrors().empty());
}

TEST_F(ConnectionOperations, ClearsTheErrorsOfTheLastCall)
{
    EXPECT_EQ(connection->GetResourceWithContent(999).id, 0);
    EXPECT_FALSE(connection->GetLastErrors().empty());
    EXPECT_EQ(connection->GetProjects().size(), 7u);
    EXPECT_TRUE(connection->GetLastErrors().empty());
}

TEST_F(ConnectionOperations, CreatesAnInboxOnce)
{
    ASSERT_TRUE(connection->CreateUserInbox(L"Optimal Lines"));
    ASSERT_TRUE(listener.WaitForChanges(1));
    EXPECT_EQ(service.Requests().back().request.target, "/v1/projects/Optimal%20Lines/user-inbox");
    const auto change = listener.Changes()[0];
    EXPECT_EQ(change.containerKind, 1);
    const auto resources =
        connection->GetProjectResources(static_cast<std::int64_t>(change.containerId));
    ASSERT_EQ(resources.size(), 1u);
    EXPECT_EQ(resources.front().id, change.resourceId);
    EXPECT_TRUE(connection->CreateUserInbox(L"Optimal Lines")) << "the inbox exists already";
    EXPECT_FALSE(connection->CreateUserInbox(L"No such project"));
    EXPECT_EQ(FirstText(), L"The folder on the service does not exist.");
}

TEST_F(ConnectionOperations, ListsAnUploadAtOnceAndReportsItOnce)
{
    ASSERT_TRUE(Upload("a.zip", "abc"));
    const Ids files = service.FileIds(inbox);
    EXPECT_EQ(ListedFiles(), files);
    ASSERT_TRUE(listener.WaitForChange(InboxId(), static_cast<long>(files.at(0))));
    const std::int64_t later = service.AddFile(inbox, "b.zip", "x");
    ASSERT_TRUE(listener.WaitForChange(InboxId(), static_cast<long>(later)));
    EXPECT_EQ(listener.Changes().size(), 2u)
        << "one change for each file, although an event came too";
}

TEST_F(ConnectionOperations, UnlistsADeletedFileAtOnceAndReportsItOnce)
{
    ASSERT_TRUE(Upload("a.zip", "abc"));
    const std::int64_t file = ListedFiles().at(0);
    ASSERT_TRUE(connection->Delete(file));
    EXPECT_TRUE(ListedFiles().empty());
    EXPECT_NE(service.Requests().back().Header("If-Match"), "");
    const std::int64_t later = service.AddFile(inbox, "b.zip", "x");
    ASSERT_TRUE(listener.WaitForChange(InboxId(), static_cast<long>(later)));
    EXPECT_EQ(listener.Changes().size(), 3u);
    EXPECT_EQ(ListedFiles(), (Ids{later}));
}

TEST_F(ConnectionOperations, ReportsThatAFileIsGone)
{
    const std::int64_t file = service.AddFile(inbox, "a.zip", "abc");
    ASSERT_TRUE(listener.WaitForChange(InboxId(), static_cast<long>(file)));
    for (const int status : {404, 412}) {
        const std::string name = status == 404 ? "not-found" : "precondition-failed";
        service.FailNext(Answer("DELETE /v1/resources/", Problem(status, name)));
        EXPECT_FALSE(connection->Delete(file));
        EXPECT_EQ(FirstText(), L"File no longer exists.");
    }
    EXPECT_FALSE(connection->Delete(999));
    EXPECT_EQ(FirstText(), L"File no longer exists.");
    EXPECT_FALSE(connection->Download(999, folder.WidePath("x").c_str()));
    EXPECT_EQ(FirstText(), L"File no longer exists.");
}

TEST_F(ConnectionOperations, ADeleteSucceedsWhenItsAnswerWasLost)
{
    ASSERT_TRUE(Upload("a.zip", "abc"));
    Fault fault = Drop("DELETE /v1/resources/");
    fault.kind = Fault::EKind::eDropAfter;
    service.FailNext(fault);
    EXPECT_TRUE(connection->Delete(ListedFiles().at(0)));
    EXPECT_TRUE(service.FileIds(inbox).empty());
}

TEST_F(ConnectionOperations, ADeleteSucceedsWhenTheRetryFindsTheFileGone)
{
    const std::pair<int, const char*> answers[] = {
        {404, "not-found"}, {410, "gone"}, {412, "precondition-failed"}};
    for (const auto& [status, name] : answers) {
        ASSERT_TRUE(Upload("a.zip", "abc"));
        Fault fault = Drop("DELETE /v1/resources/");
        fault.kind = Fault::EKind::eDropAfter;
        service.FailNext(fault);
        service.FailNext(Answer("DELETE /v1/resources/", Problem(status, name)));
        EXPECT_TRUE(connection->Delete(ListedFiles().at(0))) << status;
        EXPECT_TRUE(ListedFiles().empty()) << status;
    }
}

TEST_F(ConnectionOperations, DownloadsAListedFileWithOneRequest)
{
    const std::int64_t file = service.AddFile(inbox, "a.zip", "abc");
    ASSERT_TRUE(listener.WaitForChange(InboxId(), static_cast<long>(file)));
    const int before = service.Count("");
    ASSERT_TRUE(connection->Download(file, folder.WidePath("got.zip").c_str()));
    EXPECT_EQ(folder.Read("got.zip"), "abc");
    EXPECT_EQ(service.Count(""), before + 1);
}

TEST_F(ConnectionOperations, KeepsSimilarNamesApart)
{
    constexpr std::pair<const char*, const wchar_t*> kNames[] = {
        {"A.zip", L"A.zip"},
        {"a.zip", L"a.zip"},
        {"\xC3\xA4.zip", L"\u00E4.zip"}, // composed
        {"a\xCC\x88.zip", L"a\u0308.zip"},
    };
    std::vector<std::int64_t> files;
    for (const auto& [name, wide] : kNames) {
        files.push_back(service.AddFile(inbox, name, std::string("the content of ") + name));
        ASSERT_TRUE(listener.WaitForChange(InboxId(), static_cast<long>(files.back())));
    }
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::wstring listed = connection->GetResourceWithContent(files[i]).name;
        EXPECT_EQ(listed, kNames[i].second);
        EXPECT_TRUE(connection->Download(files[i], (folder.WidePath("") + listed).c_str()));
    }
    EXPECT_EQ(folder.EntryCount(), files.size());
    for (const auto& [name, wide] : kNames)
        EXPECT_EQ(folder.Read(name), std::string("the content of ") + name);
}

TEST_F(ConnectionOperations, ListsAHostileNameButDoesNotDownloadIt)
{
    const std::int64_t file = service.AddFile(inbox, "../a<b>.zip", "abc");
    ASSERT_TRUE(listener.WaitForChange(InboxId(), static_cast<long>(file)));
    EXPECT_EQ(connection->GetResourceWithContent(file).name, L"../a<b>.zip");
    EXPECT_FALSE(connection->Download(file, folder.WidePath("a.zip").c_str()));
    EXPECT_EQ(FirstText(), L"../a&lt;b&gt;.zip has a name that the console cannot use.");
    EXPECT_EQ(folder.EntryCount(), 0u);
}

TEST_F(ConnectionOperations, RefusesMissingPathsAndTargets)
{
    EXPECT_FALSE(connection->Upload(folder.WidePath("a").c_str(), {}));
    EXPECT_FALSE(connection->GetLastErrors().empty());
    EXPECT_FALSE(connection->Upload(nullptr, {1}));
    EXPECT_FALSE(connection->Download(1, nullptr));
    EXPECT_FALSE(connection->GetLastErrors().empty());
}

TEST_F(ConnectionOperations, TheAbortCheckEndsACall)
{
    connection->SetAbortCheck([] { return true; });
    EXPECT_FALSE(Upload("a.zip", "x"));
    EXPECT_EQ(FirstText(), L"The operation was stopped before it was done.");
    EXPECT_FALSE(connection->SendEnvironment({}));
    EXPECT_EQ(connection->GetProjects().size(), 7u) << "answered without a request";
    bool isAsked = false;
    connection->SetAbortCheck([&] { return !std::exchange(isAsked, true); });
    EXPECT_FALSE(Upload("a.zip", "x"));
    EXPECT_EQ(FirstText(), L"The operation was stopped before it was done.")
        << "the session is not lost";
    connection->SetAbortCheck({});
    EXPECT_TRUE(Upload("a.zip", "x"));
}

TEST_F(ConnectionOperations, ReportsTheEnvironment)
{
    api::Environment environment;
    environment.timeStampMs = 1'700'000'000'123;
    environment.console.consoleString = L"Konsole 7ä";
    environment.console.number5 = 4;
    environment.controller.deviceKind = L"Controller";
    environment.controller.number8 = 3;
    ASSERT_TRUE(connection->SendEnvironment(environment));
    const SentRequest sent = service.Requests().back();
    EXPECT_EQ(sent.Line(), "PUT /v1/environment");
    const auto body = nlohmann::json::parse(sent.content);
    EXPECT_EQ(body["timestamp_ms"], 1'700'000'000'123);
    EXPECT_EQ(body["console"]["console_string"], "Konsole 7ä");
    EXPECT_EQ(body["console"]["number5"], 4);
    EXPECT_EQ(body["console"].size(), 11u);
    EXPECT_EQ(body["controller"]["kind"], "Controller");
    EXPECT_EQ(body["controller"]["number8"], 3);
    EXPECT_EQ(body["controller"].size(), 8u);
}

TEST_F(ConnectionOperations, ReportsDevices)
{
    api::Environment::MeasDeviceReport report;
    report.timeStampMs = 5;
    report.device.hardwareAddress = L"00:11";
    report.state = api::Environment::eConnected;
    ASSERT_TRUE(connection->MeasDeviceConnected(report, true));
    auto body = nlohmann::json::parse(service.Requests().back().content);
    EXPECT_EQ(service.Requests().back().Line(), "PUT /v1/devices");
    EXPECT_EQ(body["state"], 1);
    EXPECT_EQ(body["flag"], true);
    EXPECT_EQ(body["device"]["hardware_address"], "00:11");
    report.state = api::Environment::eDisconnected;
    EXPECT_NE(connection->MeasDeviceDisconnected(report, false), 0);
    body = nlohmann::json::parse(service.Requests().back().content);
    EXPECT_EQ(body["state"], 0);
    EXPECT_EQ(body["flag"], false);
}

TEST_F(ConnectionOperations, SendsADisconnectedDeviceAlsoWhenAborted)
{
    connection->SetAbortCheck([] { return true; });
    EXPECT_NE(connection->MeasDeviceDisconnected({}, false), 0);
    const SentRequest sent = service.Requests().back();
    EXPECT_EQ(sent.Line(), "PUT /v1/devices");
    EXPECT_GT(sent.request.limits.total.count(), 0);
    EXPECT_LE(sent.request.limits.total, std::chrono::seconds(2));

    service.FailNext(Drop("PUT /v1/devices"));
    EXPECT_EQ(connection->MeasDeviceDisconnected({}, false), 0);
    EXPECT_EQ(service.Count("PUT /v1/devices"), 2) << "no retry";
    EXPECT_FALSE(connection->MeasDeviceConnected({}, true));
}

TEST_F(ConnectionOperations, SendsAPosition)
{
    ASSERT_TRUE(connection->ReportPosition({1'700'000'000, 52.25, -5.5}));
    ASSERT_TRUE(service.WaitForRequests("POST /v1/positions", 1));
    for (const SentRequest& sent : service.Requests()) {
        if (sent.Line() != "POST /v1/positions")
            continue;
        const auto body = nlohmann::json::parse(sent.content);
        EXPECT_EQ(body["time_s"], 1'700'000'000);
        EXPECT_EQ(body["latitude"], 52.25);
        EXPECT_EQ(body["longitude"], -5.5);
    }
}

TEST_F(ConnectionOperations, APositionDoesNotWaitForATransfer)
{
    Fault fault = Drop("POST /v1/uploads");
    fault.kind = Fault::EKind::eDropAfter;
    fault.until = "POST /v1/positions"; // the upload hangs until the position arrives
    service.FailNext(fault);
    folder.Write("a.zip", "x");
    int asked = 0;
    connection->SetAbortCheck([&] {
        if (++asked == 1) { // the upload has begun
            connection->SetAbortCheck({});
            EXPECT_TRUE(connection->ReportPosition({1, 1.0, 1.0}));
        }
        return false;
    });
    EXPECT_TRUE(Upload("a.zip", "x"));
    EXPECT_EQ(service.Count("POST /v1/positions"), 1);
}

TEST_F(ConnectionOperations, RemovesTheJournalOfASentFileWithTheNextUploadFromItsFolder)
{
    ASSERT_TRUE(Upload("a.zip", "x"));
    EXPECT_EQ(folder.EntryCount(), 2u) << "the file and its journal";
    std::filesystem::remove(folder.Path("a.zip"));
    EXPECT_EQ(connection->GetProjects().size(), 7u);
    EXPECT_EQ(folder.EntryCount(), 1u) << "no other call looks at the folder";
    ASSERT_TRUE(Upload("b.zip", "x"));
    EXPECT_EQ(folder.EntryCount(), 2u) << "the next file and its journal";
}

} // namespace kesdk::test
