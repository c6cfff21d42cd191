// The real library and a real service over a link that is cut or frozen.
#include "contract/LinkProxy.h"
#include "contract/RealFarm.h"
#include "kesdk/api/IEnterpriseConnection.h"
#include "support/RecordingListener.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>

#include <stdlib.h>

#include <atomic>
#include <filesystem>
#include <memory>

namespace kesdk::test {

namespace {

constexpr std::size_t kSizeBytes = 3'000'000;

std::string Content()
{
    std::string content(kSizeBytes, '\0');
    for (std::size_t i = 0; i < content.size(); ++i)
        content[i] = static_cast<char>(i * 31 + i / 253);
    return content;
}

class BadLink : public testing::Test
{
protected:
    BadLink()
    {
        ::setenv("KESDK_CA_FILE", SharedService().AuthorityFile().c_str(), 1);
        ::setenv("KESDK_STATE_FOLDER", state.Path("sdk").c_str(), 1);
        Connect();
    }
    ~BadLink() override
    {
        if (connection)
            connection->Unsubscribe(&listener);
        ::unsetenv("KESDK_STATE_FOLDER");
    }

    // Makes a new connection and logs in, as a console does when it starts.
    void Connect()
    {
        const std::string url = "https://127.0.0.1:" + std::to_string(link.Port()) + "/kelvo-api";
        api::IEnterpriseConnection* made = nullptr;
        EXPECT_TRUE(api::CreateKESDKInstance(&made, url.c_str()));
        if (connection)
            connection->Unsubscribe(&listener);
        connection.reset(made);
        connection->Subscribe(&listener);
        const std::size_t before = listener.States().size();
        EXPECT_TRUE(connection->Login(farm.UserName(), RealFarm::kPassword, nullptr, 0));
        EXPECT_TRUE(listener.WaitForStates(before + 2)); // login in progress, then its end
        EXPECT_EQ(listener.States().back(), api::eLoginSuccessful);
    }
    // Creates the user's inbox in "From Console". Cuts all connections, so the next request opens
    // one.
    std::int64_t MakeInbox()
    {
        EXPECT_TRUE(connection->CreateUserInbox(L"From Console"));
        std::int64_t inbox = 0;
        for (const auto& project : connection->GetProjects()) {
            for (const auto& resource : connection->GetProjectResources(project.id))
                inbox = resource.id;
        }
        link.CutAll();
        return inbox;
    }
    bool Upload(std::int64_t inbox)
    {
        folder.Write("job.zip", Content());
        return connection->Upload(folder.WidePath("job.zip").c_str(),
                                  {static_cast<std::uint64_t>(inbox)});
    }
    std::string LastDetail() const
    {
        const auto errors = connection->GetLastErrors();
        std::string detail;
        for (const wchar_t c : errors.empty() ? std::wstring() : errors.front().text3)
            detail += c < 0x80 ? static_cast<char>(c) : '?';
        return detail;
    }
    std::wstring FirstText() const
    {
        const auto errors = connection->GetLastErrors();
        return errors.empty() ? std::wstring() : errors.front().text1;
    }

    // The limit for an upload that resumes. Each cut loses the bytes in the kernel's buffers, less
    // than 800,000. An upload that starts again would lose a megabyte or more at each cut.
    std::int64_t MostBytesOfAResumedUpload() const
    {
        constexpr std::int64_t kMostLostACut = 800'000;
        return static_cast<std::int64_t>(kSizeBytes) + link.CutCount() * kMostLostACut;
    }

    RealFarm farm;
    LinkProxy link{SharedService().Port()};
    kelvo::test::TempFolder folder;
    kelvo::test::TempFolder state;
    RecordingListener listener;
    std::unique_ptr<api::IEnterpriseConnection> connection;
};

} // namespace

TEST_F(BadLink, UsesOneConnectionForRequestsAndOneForTheStream)
{
    EXPECT_TRUE(connection->SendEnvironment({}));
    EXPECT_TRUE(connection->CreateUserInbox(L"Curves"));
    EXPECT_TRUE(connection->CreateUserInbox(L"Pivots"));
    EXPECT_EQ(link.ConnectionCount(), 2);
}

TEST_F(BadLink, ResumesAnUploadAtTheLastByteThatArrived)
{
    const std::int64_t inbox = MakeInbox();
    link.CutNext(16, 1'200'000); // enough for the stream's reconnections too
    const std::int64_t before = link.BytesToService();
    ASSERT_TRUE(Upload(inbox));
    const auto listed = connection->GetResourceWithContent(inbox);
    ASSERT_EQ(listed.content.size(), 1u);
    EXPECT_EQ(farm.Content(listed.content.front().id), Content());
    EXPECT_GE(link.CutCount(), 2);
    EXPECT_LT(link.BytesToService() - before, MostBytesOfAResumedUpload());
}

TEST_F(BadLink, ResumesAnUploadAfterARestart)
{
    const std::int64_t inbox = MakeInbox();
    const std::int64_t before = link.BytesToService();
    connection->SetAbortCheck([&] { return link.BytesToService() - before > 1'500'000; });
    link.CutNext(16, 1'000'000); // after the cut the SDK asks for the upload's address
    ASSERT_FALSE(Upload(inbox));
    Connect();
    ASSERT_TRUE(connection->Upload(folder.WidePath("job.zip").c_str(),
                                   {static_cast<std::uint64_t>(inbox)}));
    const auto listed = connection->GetResourceWithContent(inbox);
    ASSERT_EQ(listed.content.size(), 1u);
    EXPECT_EQ(farm.Content(listed.content.front().id), Content());
    EXPECT_LT(link.BytesToService() - before, MostBytesOfAResumedUpload());
    std::filesystem::remove(folder.Path("job.zip")); // as the console does
    EXPECT_FALSE(
        connection->Upload(folder.WidePath("job.zip").c_str(), {static_cast<std::uint64_t>(inbox)}))
        << "the file is gone";
    EXPECT_TRUE(std::filesystem::is_empty(state.Path("sdk")));
}

TEST_F(BadLink, ResumesADownloadAfterARestart)
{
    const std::int64_t inbox = MakeInbox();
    const std::int64_t file = farm.PutFile(inbox, L"map.zip", Content());
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    const std::string part = folder.Path("map.zip.part");
    connection->SetAbortCheck([&] {
        std::error_code none;
        return std::filesystem::file_size(part, none) > 1'000'000 && !none;
    });
    link.CutAll();
    link.CutNext(16, 1'200'000); // the cut makes it poll the abort check in time
    ASSERT_FALSE(connection->Download(file, folder.WidePath("map.zip").c_str()));
    ASSERT_GT(std::filesystem::file_size(part), 1'000'000u);
    link.CutNext(0, 0);
    const std::int64_t before = link.BytesFromService();
    Connect();
    ASSERT_TRUE(connection->Download(file, folder.WidePath("map.zip").c_str()));
    EXPECT_EQ(folder.Read("map.zip"), Content());
    EXPECT_EQ(folder.EntryCount(), 1u);
    EXPECT_LT(link.BytesFromService() - before, static_cast<std::int64_t>(kSizeBytes) - 800'000);
}

TEST_F(BadLink, ResumesADownloadAtTheLastByteThatArrived)
{
    const std::int64_t inbox = MakeInbox();
    const std::int64_t file = farm.PutFile(inbox, L"map.zip", Content());
    ASSERT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    link.CutAll();
    link.CutNext(4, 1'200'000);
    ASSERT_TRUE(connection->Download(file, folder.WidePath("map.zip").c_str()));
    EXPECT_EQ(folder.Read("map.zip"), Content());
    EXPECT_EQ(folder.EntryCount(), 1u);
    EXPECT_GE(link.CutCount(), 2);
}

TEST_F(BadLink, ReportsEveryChangeAfterTheStreamWasCut)
{
    const std::int64_t inbox = MakeInbox();
    std::vector<std::int64_t> files;
    for (int i = 0; i < 5; ++i) {
        link.CutAll();
        files.push_back(farm.PutFile(inbox, L"map.zip", std::to_string(i)));
    }
    for (const std::int64_t file : files)
        EXPECT_TRUE(
            listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    EXPECT_EQ(connection->GetResourceWithContent(inbox).content.size(), files.size());
    EXPECT_TRUE(connection->IsLoggedIn());
}

TEST_F(BadLink, ResumesTransfersAndStreamAfterACrashOfTheService)
{
    const std::int64_t inbox = MakeInbox();
    std::atomic<bool> wasKilled{false};
    link.CallAfter(1'500'000, [&] {
        SharedService().KillAndStart();
        wasKilled = true;
    });
    ASSERT_TRUE(Upload(inbox)) << LastDetail();
    ASSERT_TRUE(wasKilled);
    const auto listed = connection->GetResourceWithContent(inbox);
    ASSERT_EQ(listed.content.size(), 1u);
    EXPECT_EQ(farm.Content(listed.content.front().id), Content());
    const std::int64_t file = farm.PutFile(inbox, L"map.zip", "x");
    EXPECT_TRUE(listener.WaitForChange(static_cast<unsigned long>(inbox), static_cast<long>(file)));
    EXPECT_TRUE(connection->IsLoggedIn());
}

TEST_F(BadLink, TheAbortCheckEndsATransferOnAFrozenLink)
{
    const std::int64_t inbox = MakeInbox();
    link.SetFrozen(true);
    int asked = 0;
    connection->SetAbortCheck([&] { return ++asked > 5; });
    EXPECT_FALSE(Upload(inbox));
    EXPECT_EQ(FirstText(), L"The operation was stopped before it was done.");
}

TEST_F(BadLink, GettersAnswerOnAFrozenLink)
{
    const std::int64_t inbox = MakeInbox();
    link.SetFrozen(true);
    EXPECT_EQ(connection->GetProjects().size(), 7u);
    EXPECT_EQ(connection->GetResourceWithContent(inbox).id, inbox);
}

TEST_F(BadLink, LogoutSucceedsOnAFrozenLink)
{
    link.SetFrozen(true);
    EXPECT_TRUE(connection->Logout());
    EXPECT_FALSE(connection->IsLoggedIn());
    EXPECT_TRUE(listener.WaitForState(api::eNotLoggedIn));
}

TEST_F(BadLink, DestructionReturnsOnAFrozenLink)
{
    link.SetFrozen(true);
    EXPECT_TRUE(connection->ReportPosition({1, 1.0, 1.0}));
    connection.reset();
}

TEST_F(BadLink, DestructionEndsAnUnfinishedLoginOnAFrozenLink)
{
    EXPECT_TRUE(connection->Logout());
    link.CutAll();
    link.SetFrozen(true);
    EXPECT_TRUE(connection->Login(farm.UserName(), RealFarm::kPassword, nullptr, 0));
    EXPECT_TRUE(listener.WaitForState(api::eLoginInProgress));
    connection.reset();
}

} // namespace kesdk::test
