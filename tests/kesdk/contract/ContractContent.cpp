// The contract suite: projects, inboxes and files.
#include "contract/ContractFixture.h"

namespace kesdk::test {

namespace {

using Ids = std::vector<std::int64_t>;
constexpr const wchar_t* kGone = L"File no longer exists.";

} // namespace

TEST_P(Contract, ListsTheSevenProjectsInOrder)
{
    LogIn();
    const std::wstring expected[] = {L"To Console", L"From Console",  L"AB Lines",     L"Curves",
                                     L"Pivots",     L"Optimal Lines", L"Project Lines"};
    const auto projects = connection->GetProjects();
    ASSERT_EQ(projects.size(), 7u);
    for (std::size_t i = 0; i < projects.size(); ++i) {
        EXPECT_EQ(projects[i].name, expected[i]);
        EXPECT_NE(projects[i].id, 0);
        EXPECT_TRUE(connection->GetProjectResources(projects[i].id).empty());
    }
}

TEST_P(Contract, CreatesAnInboxOnceAndReportsIt)
{
    LogIn();
    const std::int64_t project = ProjectId(L"Optimal Lines");
    ASSERT_TRUE(connection->CreateUserInbox(L"Optimal Lines"));
    EXPECT_TRUE(connection->CreateUserInbox(L"Optimal Lines"));
    const auto resources = connection->GetProjectResources(project);
    ASSERT_EQ(resources.size(), 1u);
    EXPECT_EQ(resources.front().kind, 2);
    EXPECT_EQ(resources.front().ownerUserId, connection->GetCurrentUser().id);
    ASSERT_TRUE(WaitForChange(project, resources.front().id));
    EXPECT_EQ(listener.Changes().front().changeKind, 4);
    EXPECT_EQ(listener.Changes().front().containerKind, 1);
    EXPECT_FALSE(connection->CreateUserInbox(L"optimal lines")) << "names are matched exactly";
    EXPECT_FALSE(FirstText().empty());
}

TEST_P(Contract, StoresListsAndReportsAnUpload)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"From Console");
    ASSERT_TRUE(Upload("job.zip", "what was done", {inbox}));
    const Ids files = Files(inbox);
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(backend->Content(files[0]), "what was done");
    ASSERT_TRUE(WaitForChange(inbox, files[0]));
    EXPECT_EQ(listener.Changes().back().changeKind, 4);
    EXPECT_EQ(listener.Changes().back().containerKind, 2);
    EXPECT_EQ(folder.Read("job.zip"), "what was done") << "the local file stays";
}

TEST_P(Contract, UploadsAndDownloadsAnEmptyFile)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"From Console");
    ASSERT_TRUE(Upload("empty.zip", "", {inbox}));
    const Ids files = Files(inbox);
    ASSERT_EQ(files.size(), 1u);
    ASSERT_TRUE(connection->Download(files[0], folder.WidePath("back.zip").c_str()));
    EXPECT_TRUE(folder.Has("back.zip"));
    EXPECT_EQ(folder.Read("back.zip"), "");
}

TEST_P(Contract, StoresAnUploadInEveryTarget)
{
    LogIn();
    const std::int64_t first = MakeInbox(L"Curves");
    const std::int64_t second = MakeInbox(L"Pivots");
    ASSERT_TRUE(Upload("line.zip", "a curve", {first, second}));
    ASSERT_EQ(Files(first).size(), 1u);
    ASSERT_EQ(Files(second).size(), 1u);
    EXPECT_NE(Files(first)[0], Files(second)[0]);
    EXPECT_EQ(backend->Content(Files(second)[0]), "a curve");
}

TEST_P(Contract, StoresAnUploadInAllTargetsOrNone)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"Curves");
    EXPECT_FALSE(Upload("line.zip", "a curve", {inbox, 987'654}));
    EXPECT_FALSE(FirstText().empty());
    EXPECT_TRUE(Files(inbox).empty());
    EXPECT_FALSE(Upload("line.zip", "a curve", {}));
    EXPECT_FALSE(FirstText().empty());
}

TEST_P(Contract, DoesNotUploadAMissingFile)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"Curves");
    EXPECT_FALSE(connection->Upload(folder.WidePath("none.zip").c_str(),
                                    {static_cast<std::uint64_t>(inbox)}));
    EXPECT_FALSE(FirstText().empty());
    EXPECT_TRUE(Files(inbox).empty());
}

TEST_P(Contract, ListsFilesOfTheSameNameInTheServicesOrder)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"Curves");
    ASSERT_TRUE(Upload("line.zip", "first", {inbox}));
    ASSERT_TRUE(Upload("line.zip", "second", {inbox}));
    ASSERT_TRUE(Upload("line.zip", "second", {inbox}));
    const Ids files = Files(inbox);
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(backend->Content(files[0]), "first");
    EXPECT_EQ(backend->Content(files[1]), "second");
    EXPECT_EQ(backend->Content(files[2]), "second");
}

TEST_P(Contract, ReportsAnotherUsersFileWhenItIsAddedAndRemoved)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"To Console");
    const std::int64_t file = backend->PutFile(inbox, L"Fält 7 \U0001F33E.zip", "a map");
    ASSERT_NE(file, 0);
    ASSERT_TRUE(WaitForChange(inbox, file));
    const auto resource = connection->GetResourceWithContent(inbox);
    EXPECT_EQ(resource.kind, 2);
    EXPECT_EQ(resource.ownerUserId, connection->GetCurrentUser().id);
    ASSERT_EQ(resource.content.size(), 1u);
    EXPECT_EQ(resource.content.front().id, file);
    EXPECT_EQ(resource.content.front().kind, 4);
    EXPECT_EQ(resource.content.front().name, L"Fält 7 \U0001F33E.zip");
    EXPECT_EQ(connection->GetProjectResources(ProjectId(L"To Console")).front().content.size(), 1u);

    const std::size_t before = listener.Changes().size();
    backend->RemoveFile(file);
    ASSERT_TRUE(listener.WaitForChanges(before + 1));
    EXPECT_TRUE(Files(inbox).empty());
    EXPECT_EQ(connection->GetResourceWithContent(file).id, 0);
}

TEST_P(Contract, FindsFilesAndProjectsByTheirId)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"To Console");
    const std::int64_t file = backend->PutFile(inbox, L"map.zip", "a map");
    ASSERT_TRUE(WaitForChange(inbox, file));
    const auto asFile = connection->GetResourceWithContent(file);
    EXPECT_EQ(asFile.id, file);
    EXPECT_EQ(asFile.kind, 4);
    EXPECT_EQ(asFile.name, L"map.zip");
    EXPECT_TRUE(asFile.content.empty());
    const auto project = connection->GetResourceWithContent(ProjectId(L"To Console"));
    EXPECT_EQ(project.kind, 1);
    EXPECT_EQ(project.name, L"To Console");
    const auto nothing = connection->GetResourceWithContent(987'654);
    EXPECT_EQ(nothing.id, 0);
    EXPECT_EQ(nothing.kind, 0);
    EXPECT_TRUE(nothing.name.empty());
    EXPECT_FALSE(FirstText().empty());
}

TEST_P(Contract, DownloadsAWholeFileAndReplacesAnEarlierOne)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"To Console");
    std::string content;
    for (int i = 0; i < 200'000; ++i)
        content += static_cast<char>(i * 7 + i / 251);
    const std::int64_t file = backend->PutFile(inbox, L"map.zip", content);
    ASSERT_TRUE(WaitForChange(inbox, file));
    folder.Write("map.zip", "old");
    ASSERT_TRUE(connection->Download(file, folder.WidePath("map.zip").c_str()));
    EXPECT_EQ(folder.Read("map.zip"), content);
    EXPECT_EQ(folder.EntryCount(), 1u) << "no other file";
}

TEST_P(Contract, LeavesNothingWhenADownloadFails)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"To Console");
    const std::int64_t file = backend->PutFile(inbox, L"map.zip", "a map");
    ASSERT_TRUE(WaitForChange(inbox, file));
    EXPECT_FALSE(connection->Download(file, folder.WidePath("no/folder/map.zip").c_str()));
    EXPECT_FALSE(FirstText().empty());
    backend->RemoveFile(file);
    EXPECT_FALSE(connection->Download(file, folder.WidePath("map.zip").c_str()));
    EXPECT_EQ(FirstText(), kGone);
    EXPECT_EQ(folder.EntryCount(), 0u);
}

TEST_P(Contract, DeletesAFileAndReportsIt)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"To Console");
    const std::int64_t file = backend->PutFile(inbox, L"map.zip", "a map");
    ASSERT_TRUE(WaitForChange(inbox, file));
    const std::size_t before = listener.Changes().size();
    ASSERT_TRUE(connection->Delete(file));
    EXPECT_TRUE(Files(inbox).empty());
    ASSERT_TRUE(listener.WaitForChanges(before + 1));
    EXPECT_EQ(listener.Changes().back().containerId, static_cast<unsigned long>(inbox));
    EXPECT_FALSE(connection->Delete(file));
    EXPECT_EQ(FirstText(), kGone);
}

TEST_P(Contract, ReportsThatTheFileToDeleteIsGone)
{
    LogIn();
    const std::int64_t inbox = MakeInbox(L"To Console");
    const std::int64_t file = backend->PutFile(inbox, L"map.zip", "a map");
    ASSERT_TRUE(WaitForChange(inbox, file));
    backend->RemoveFile(file); // its event may or may not have arrived
    EXPECT_FALSE(connection->Delete(file));
    EXPECT_EQ(FirstText(), kGone);
}

} // namespace kesdk::test
