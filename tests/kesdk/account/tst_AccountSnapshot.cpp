// The snapshot, changed by events of the stream and by the answers to own calls.
#include "account/AccountSnapshot.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kesdk::impl {

namespace {

constexpr std::int64_t kProject = 1;
constexpr std::int64_t kInbox = 10;
constexpr std::int64_t kOtherInbox = 11;

FileRecord File(std::int64_t id, std::int64_t inbox = kInbox)
{
    FileRecord file;
    file.id = id;
    file.containerId = inbox;
    file.name = L"file" + std::to_wstring(id);
    file.sizeBytes = 5;
    file.sha256Hex = "aa";
    file.etag = "\"aa\"";
    return file;
}

AccountEvent Event(EAccountEvent kind, const FileRecord& file, std::string id)
{
    AccountEvent event;
    event.kind = kind;
    event.id = std::move(id);
    event.file = file;
    return event;
}

AccountRecord Account(std::vector<FileRecord> files)
{
    AccountRecord account;
    account.user = {7, L"olga"};
    account.cursor = "3";
    account.projects = {{kProject,
                         L"To Console",
                         {{kInbox, kProject, L"olga", 7, std::move(files)},
                          {kOtherInbox, kProject, L"piet", 8, {}}}},
                        {2, L"From Console", {}}};
    return account;
}

class AccountSnapshotTest : public testing::Test
{
protected:
    AccountSnapshotTest() { snapshot.Replace(Account({File(50), File(51)})); }

    std::vector<std::int64_t> Files() const
    {
        std::vector<std::int64_t> ids;
        const auto known = snapshot.Resource(kInbox);
        for (const api::EnterpriseResource& file : known->content)
            ids.push_back(file.id);
        return ids;
    }
    ResourceChanges Added(std::int64_t id)
    {
        return snapshot.ApplyEvent(
            Event(EAccountEvent::eFileAdded, File(id), std::to_string(++m_event)));
    }
    ResourceChanges Removed(std::int64_t id)
    {
        return snapshot.ApplyEvent(
            Event(EAccountEvent::eFileRemoved, File(id), std::to_string(++m_event)));
    }
    ResourceChanges Uploaded(std::int64_t id)
    {
        return snapshot.ApplyOwnUpload({File(id)}, snapshot.Generation());
    }

    using Ids = std::vector<std::int64_t>;
    AccountSnapshot snapshot;

private:
    int m_event = 3; // the newest
};

void ExpectInboxChange(const ResourceChanges& changes, long fileId)
{
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].changeKind, 4);
    EXPECT_EQ(changes[0].containerKind, 2);
    EXPECT_EQ(changes[0].containerId, static_cast<unsigned long>(kInbox));
    EXPECT_EQ(changes[0].resourceId, fileId);
}

} // namespace

TEST_F(AccountSnapshotTest, AnswersTheContractsQuestions)
{
    const auto projects = snapshot.Projects();
    ASSERT_EQ(projects.size(), 2u);
    EXPECT_EQ(projects[0].name, L"To Console");
    const auto resources = snapshot.ProjectResources(kProject);
    ASSERT_TRUE(resources);
    ASSERT_EQ(resources->size(), 2u);
    EXPECT_EQ(resources->front().id, kInbox);
    EXPECT_EQ(resources->front().kind, api::eUserInboxResource);
    EXPECT_EQ(resources->front().ownerUserId, 7);
    EXPECT_EQ(resources->front().content.size(), 2u);
    const auto file = snapshot.Resource(51);
    ASSERT_TRUE(file);
    EXPECT_EQ(file->kind, api::eFileResource);
    EXPECT_EQ(file->name, L"file51");
    EXPECT_EQ(file->sizeBytes, 5);
    EXPECT_TRUE(file->content.empty());
    const auto project = snapshot.Resource(kProject);
    ASSERT_TRUE(project);
    EXPECT_EQ(project->kind, api::eProjectInboxResource);
    EXPECT_EQ(project->content.size(), 2u);
    EXPECT_EQ(snapshot.User().name, L"olga");
    EXPECT_FALSE(snapshot.Resource(999));
    EXPECT_FALSE(snapshot.ProjectResources(999));
}

TEST_F(AccountSnapshotTest, AppliesEvents)
{
    ExpectInboxChange(Added(60), 60);
    EXPECT_EQ(Files(), (Ids{50, 51, 60}));
    EXPECT_EQ(snapshot.Cursor(), "4");
    ExpectInboxChange(Removed(50), 50);
    EXPECT_EQ(Files(), (Ids{51, 60}));
    EXPECT_EQ(snapshot.Cursor(), "5");
}

TEST_F(AccountSnapshotTest, AppliesAChangeOnceWhetherTheEventOrTheAnswerComesFirst)
{
    ExpectInboxChange(Uploaded(60), 60);
    EXPECT_TRUE(Added(60).empty());
    ExpectInboxChange(Added(61), 61);
    EXPECT_TRUE(Uploaded(61).empty());
    ExpectInboxChange(snapshot.ApplyOwnDelete(60), 60);
    EXPECT_TRUE(Removed(60).empty());
    ExpectInboxChange(Removed(61), 61);
    EXPECT_TRUE(snapshot.ApplyOwnDelete(61).empty());
    EXPECT_EQ(Files(), (Ids{50, 51}));
}

TEST_F(AccountSnapshotTest, IgnoresALateEventOfAFileThatThisConsoleDeleted)
{
    Uploaded(60);
    snapshot.ApplyOwnDelete(60);
    EXPECT_TRUE(Added(60).empty()) << "the event of the upload comes late";
    EXPECT_EQ(Files(), (Ids{50, 51}));
    EXPECT_TRUE(Removed(60).empty());
    ExpectInboxChange(Added(60), 60); // restored from the bin
}

TEST_F(AccountSnapshotTest, IgnoresALateAnswerAboutAFileThatAnEventRemoved)
{
    Added(60);
    Removed(60);
    EXPECT_TRUE(Uploaded(60).empty());
    EXPECT_EQ(Files(), (Ids{50, 51}));
}

TEST_F(AccountSnapshotTest, IgnoresAnAnswerThatIsOlderThanTheSnapshot)
{
    const std::uint64_t generation = snapshot.Generation();
    snapshot.Replace(Account({File(50), File(51)}));
    EXPECT_TRUE(snapshot.ApplyOwnUpload({File(60)}, generation).empty());
    EXPECT_EQ(Files(), (Ids{50, 51}));
}

TEST_F(AccountSnapshotTest, ReportsEveryContainerThatDiffers)
{
    AccountRecord next = Account({File(50), File(52)});
    next.projects[1].inboxes = {{12, 2, L"olga", 7, {File(70, 12)}}};
    const ResourceChanges changes = snapshot.Replace(std::move(next));
    ASSERT_EQ(changes.size(), 3u);
    EXPECT_EQ(changes[0].containerKind, 1);
    EXPECT_EQ(changes[0].containerId, 2ul);
    EXPECT_EQ(changes[1].containerId, static_cast<unsigned long>(kInbox));
    EXPECT_EQ(changes[1].containerKind, 2);
    EXPECT_EQ(changes[2].containerId, 12ul);
    EXPECT_EQ(changes[2].resourceId, 0);
}

TEST_F(AccountSnapshotTest, ReportsNothingWhenNothingDiffers)
{
    EXPECT_TRUE(snapshot.Replace(Account({File(50), File(51)})).empty());
}

TEST_F(AccountSnapshotTest, AddsAnInboxOnce)
{
    const InboxRecord inbox{13, 2, L"olga", 7, {}};
    const ResourceChanges changes = snapshot.ApplyOwnInbox(inbox);
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(changes[0].containerKind, 1);
    EXPECT_EQ(changes[0].containerId, 2ul);
    EXPECT_EQ(changes[0].resourceId, 13);
    AccountEvent event;
    event.kind = EAccountEvent::eInboxAdded;
    event.inbox = inbox;
    EXPECT_TRUE(snapshot.ApplyEvent(event).empty());
    EXPECT_EQ(snapshot.ProjectResources(2)->size(), 1u);
}

TEST_F(AccountSnapshotTest, IgnoresAFileOfAnInboxItDoesNotKnow)
{
    EXPECT_TRUE(snapshot.ApplyEvent(Event(EAccountEvent::eFileAdded, File(60, 999), "6")).empty());
    EXPECT_EQ(snapshot.Cursor(), "6");
}

TEST_F(AccountSnapshotTest, MovesTheCursorOnAnEventWithoutAChange)
{
    AccountEvent event;
    event.id = "9";
    EXPECT_TRUE(snapshot.ApplyEvent(event).empty());
    EXPECT_EQ(snapshot.Cursor(), "9");
}

TEST_F(AccountSnapshotTest, IgnoresEventsThatComeTwice)
{
    const AccountEvent added = Event(EAccountEvent::eFileAdded, File(60), "4");
    const AccountEvent removed = Event(EAccountEvent::eFileRemoved, File(60), "5");
    EXPECT_EQ(snapshot.ApplyEvent(added).size(), 1u);
    EXPECT_EQ(snapshot.ApplyEvent(added).size(), 0u);
    EXPECT_EQ(snapshot.ApplyEvent(removed).size(), 1u);
    EXPECT_EQ(snapshot.ApplyEvent(added).size(), 0u) << "the removed file stays removed";
    EXPECT_EQ(snapshot.ApplyEvent(removed).size(), 0u);
    EXPECT_EQ(Files(), (Ids{50, 51}));
    EXPECT_EQ(snapshot.Cursor(), "5");
}

TEST_F(AccountSnapshotTest, IgnoresEventsThatAreOlderThanTheSnapshot)
{
    EXPECT_TRUE(snapshot.ApplyEvent(Event(EAccountEvent::eFileRemoved, File(50), "2")).empty());
    EXPECT_TRUE(snapshot.ApplyEvent(Event(EAccountEvent::eFileAdded, File(60), "3")).empty());
    EXPECT_EQ(Files(), (Ids{50, 51}));
    EXPECT_EQ(snapshot.Cursor(), "3") << "the cursor never moves back";
}

TEST_F(AccountSnapshotTest, EndsInTheSameStateForEventsInAnyOrder)
{
    const std::vector<AccountEvent> events{Event(EAccountEvent::eFileAdded, File(60), "4"),
                                           Event(EAccountEvent::eFileAdded, File(61), "5"),
                                           Event(EAccountEvent::eFileRemoved, File(60), "6"),
                                           Event(EAccountEvent::eFileRemoved, File(51), "7"),
                                           Event(EAccountEvent::eFileAdded, File(51), "8")};
    std::vector<std::size_t> order{0, 1, 2, 3, 4};
    do {
        snapshot.Replace(Account({File(50), File(51)}));
        for (const std::size_t i : order)
            snapshot.ApplyEvent(events[i]);
        ASSERT_EQ(Files(), (Ids{50, 51, 61}));
        ASSERT_EQ(snapshot.Cursor(), "8");
    } while (std::next_permutation(order.begin(), order.end()));
}

} // namespace kesdk::impl
