// What the SDK knows of the account: projects, inboxes and files.
#pragma once

#include "client/Records.h"
#include "kesdk/api/IResourceChangeNotification.h"
#include "kesdk/api/Resources.h"

#include <cstdint>
#include <list>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace kesdk::impl {

using ResourceChange = api::IResourceChangeNotification::ResourceChange;
using ResourceChanges = std::vector<ResourceChange>;

// The account as the service last told it, kept up to date from two sides: the event stream, and
// the replies to our own requests, which may come before or after the event of the same change.
// Every patch says what it changed, so that the second to come says nothing. Events that come
// twice, late or in another order leave each file as the newest event of it has it.
//
// Thread safety: safe.
class AccountSnapshot
{
public:
    // Takes the account as it is now. The changes name every container that differs from before.
    ResourceChanges Replace(AccountRecord account);
    void Clear();
    // Counts the calls of Replace and Clear.
    std::uint64_t Generation() const;

    // From the event stream.
    ResourceChanges ApplyEvent(const AccountEvent& event);
    // From the reply to an upload that was begun at `generation`. A snapshot taken since then may
    // know better: then the event stream tells the rest.
    ResourceChanges ApplyOwnUpload(const std::vector<FileRecord>& files, std::uint64_t generation);
    // From the reply to a delete.
    ResourceChanges ApplyOwnDelete(std::int64_t fileId);
    ResourceChanges ApplyOwnInbox(const InboxRecord& inbox);

    std::vector<api::EnterpriseProject> Projects() const;
    // Empty when there is no such project, as are the following for theirs.
    std::optional<std::list<api::EnterpriseResourceWithContent>>
    ProjectResources(std::int64_t projectId) const;
    std::optional<api::EnterpriseResourceWithContent> Resource(std::int64_t resourceId) const;
    std::optional<FileRecord> File(std::int64_t fileId) const;
    // Of the user's own.
    bool HasOwnInbox(const std::wstring& projectName) const;
    api::CurrentUser User() const;
    std::string Cursor() const;

private:
    struct Inbox
    {
        std::int64_t projectId = 0;
        std::wstring name;
        std::int64_t ownerUserId = 0;
        std::map<std::int64_t, FileRecord> files; // by id, which is the service's order
    };
    struct Project
    {
        std::int64_t id = 0;
        std::wstring name;
        std::vector<std::int64_t> inboxIds; // in the service's order
    };
    struct State
    {
        UserRecord user;
        std::string cursor;
        std::vector<Project> projects;
        std::unordered_map<std::int64_t, Inbox> inboxes;
        std::unordered_map<std::int64_t, std::int64_t> inboxOfFile;
    };

    static State ToState(AccountRecord account);
    static ResourceChanges Differences(const State& before, const State& after);
    static Project* FindProject(State& state, std::int64_t projectId);
    static const Project* FindProject(const State& state, std::int64_t projectId);
    static api::EnterpriseResourceWithContent ToResource(std::int64_t inboxId, const Inbox& inbox);

    bool IsOld(const AccountEvent& event);
    ResourceChanges AddFile(const FileRecord& file);
    ResourceChanges RemoveFile(std::int64_t fileId);
    ResourceChanges AddInbox(const InboxRecord& inbox);

    mutable std::mutex m_mutex; // guards everything below
    State m_state;
    std::uint64_t m_generation = 0;
    std::int64_t m_oldestNews = 0; // events up to this one are in the state, whatever they tell
    std::unordered_map<std::int64_t, std::int64_t> m_newestEventOfFile;
    // Files of which our own request learnt that they are gone before the stream told so; an older
    // "added" may still be on its way there.
    std::unordered_set<std::int64_t> m_goneBeforeEvent;
    // Files that the stream reported removed; the reply to the upload may still be on its way.
    std::unordered_set<std::int64_t> m_removedByEvent;
};

} // namespace kesdk::impl
