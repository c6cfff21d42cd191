// A network whose login page answers instead of the service: the error says so, and no such answer
// counts as the service's.
#include "support/ConnectionFixture.h"

namespace kesdk::test {

namespace {

const wchar_t* const kText = L"This network shows a page of its own instead of the service.";

class CaptivePortal : public ConnectionFixture
{
protected:
    // The answers that such networks give.
    static std::vector<impl::HttpResponse> Pages()
    {
        const std::vector<impl::HttpHeader> html{{"Content-Type", "text/html; charset=utf-8"}};
        const std::string page = "<html>Welcome to the camping site</html>";
        return {MakeResponse(200, page, html), MakeResponse(404, page, html),
                MakeResponse(401, page, html),
                MakeResponse(302, {}, {{"Location", "http://login.test/"}}),
                MakeResponse(511, page)};
    }
    void FailLogin()
    {
        const std::size_t before = listener.States().size();
        ASSERT_TRUE(connection->Login(L"olga", L"correct horse", nullptr, 0));
        ASSERT_TRUE(listener.WaitForStates(before + 2)); // in progress, and its end
        ASSERT_EQ(listener.States().back(), api::eLoginFailed);
    }
    void AnswerPageTo(const std::string& line, const impl::HttpResponse& page)
    {
        service.FailNext(Answer(line, page));
    }
};

} // namespace

TEST_F(CaptivePortal, ALoginReportsTheCaptivePortal)
{
    for (const impl::HttpResponse& page : Pages()) {
        AnswerPageTo("POST /v1/sessions", page);
        FailLogin();
        EXPECT_EQ(connection->GetLastLoginErrors().front().text1, kText) << page.status;
    }
}

TEST_F(CaptivePortal, FailsALoginAtTheSnapshotAndAtTheStream)
{
    AnswerPageTo("GET /v1/account", Pages().front());
    FailLogin();
    EXPECT_EQ(connection->GetLastLoginErrors().front().text1, kText);
    for (int i = 0; i < 3; ++i)
        AnswerPageTo("GET /v1/events", Pages().front());
    FailLogin();
    EXPECT_EQ(connection->GetLastLoginErrors().front().text1, kText);
}

TEST_F(CaptivePortal, TheSessionOutlivesACaptivePortal)
{
    LogIn();
    for (const impl::HttpResponse& page : Pages())
        AnswerPageTo("GET /v1/events", page);
    service.CloseStreams();
    ASSERT_TRUE(service.WaitForRequests("GET /v1/events", 2 + static_cast<int>(Pages().size())));
    ASSERT_TRUE(listener.WaitForStates(4));
    EXPECT_EQ(listener.States(), (std::vector<std::int32_t>{1, 3, 2, 3}))
        << "the state changes back only when the stream is open";
}

TEST_F(CaptivePortal, FailsDeletesAndReports)
{
    LogIn();
    const std::int64_t file = service.AddFile(inbox, "a.zip", "content");
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    for (const impl::HttpResponse& page : Pages()) {
        AnswerPageTo("DELETE /v1/resources/", page);
        EXPECT_FALSE(connection->Delete(file));
        EXPECT_EQ(FirstText(), kText) << page.status;
        AnswerPageTo("PUT /v1/environment", page);
        EXPECT_FALSE(connection->SendEnvironment({}));
        EXPECT_EQ(FirstText(), kText) << page.status;
        AnswerPageTo("POST /v1/projects/", page);
        EXPECT_FALSE(connection->CreateUserInbox(L"Curves"));
        EXPECT_EQ(FirstText(), kText) << page.status;
    }
    EXPECT_TRUE(connection->IsLoggedIn());
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{file})) << "the file is still listed";
    EXPECT_EQ(service.FileIds(inbox), (std::vector<std::int64_t>{file}));
}

TEST_F(CaptivePortal, FailsTransfersAndStoresNothing)
{
    LogIn();
    const std::int64_t file = service.AddFile(inbox, "a.zip", "content");
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    for (const impl::HttpResponse& page : Pages()) {
        AnswerPageTo("GET /v1/resources/", page);
        EXPECT_FALSE(connection->Download(file, folder.WidePath("a.zip").c_str()));
        EXPECT_EQ(FirstText(), kText) << page.status;
        EXPECT_EQ(folder.EntryCount(), 0u);
    }
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{file}));
    for (const impl::HttpResponse& page : Pages()) {
        AnswerPageTo("POST /v1/uploads", page);
        EXPECT_FALSE(Upload("b.zip", "content"));
        EXPECT_EQ(FirstText(), kText) << page.status;
    }
    EXPECT_EQ(service.FileIds(inbox).size(), 1u);
    EXPECT_TRUE(folder.Has("b.zip"));
}

// A proxy without a route to the service gives such answers, for example while the service is
// updated.
TEST_F(CaptivePortal, OnlyTheServiceCanSayThatAFileIsGone)
{
    LogIn();
    const std::int64_t file = service.AddFile(inbox, "a.zip", "content");
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    for (const int status : {403, 404, 410, 412}) {
        const impl::HttpResponse plain =
            MakeResponse(status, "no route", {{"Content-Type", "text/plain"}});
        AnswerPageTo("GET /v1/resources/", plain);
        EXPECT_FALSE(connection->Download(file, folder.WidePath("a.zip").c_str()));
        EXPECT_EQ(FirstText(), L"The console did not understand the service's answer.") << status;
        service.FailNext(Drop("DELETE /v1/resources/"));
        AnswerPageTo("DELETE /v1/resources/", plain);
        EXPECT_FALSE(connection->Delete(file)) << status;
    }
    EXPECT_EQ(ListedFiles(), (std::vector<std::int64_t>{file}));
    EXPECT_EQ(service.FileIds(inbox), (std::vector<std::int64_t>{file}));
}

TEST_F(CaptivePortal, TheErrorOfAProxyIsNotReportedAsACaptivePortal)
{
    const std::vector<impl::HttpHeader> html{{"Content-Type", "text/html"}};
    LogIn();
    service.FailNext(Answer("POST /v1/uploads", MakeResponse(413, "<html>too large</html>", html)));
    EXPECT_FALSE(Upload("b.zip", "content"));
    EXPECT_EQ(FirstText(), L"b.zip is too large for the service.");
}

} // namespace kesdk::test
