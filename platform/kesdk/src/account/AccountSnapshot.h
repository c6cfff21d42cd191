// The SDK's snapshot of the account: projects, inboxes and files.
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

// The account as the service last described it. Updates come from the event stream and from the
// answers to our own requests, in any order. Each update returns the changes that it made: none, if
// the snapshot had them already. Events may come twice, late or in another order: each file ends as
// its newest event describes it.
//
// Thread safety: safe.
class AccountSnapshot
{
public:
    // Replaces the snapshot. The changes name every container that differs from before.
    ResourceChanges Replace(AccountRecord account);
    void Clear() { Replace({}); }
    // Counts the calls of Replace.
    std::uint64_t Generation() const;

    // From the event stream.
    ResourceChanges ApplyEvent(const AccountEvent& event);
    // From the answer to an upload that began at `generation`. A later snapshot may be newer than
    // the answer: then the event stream brings the rest.
    ResourceChanges ApplyOwnUpload(const std::vector<FileRecord>& files, std::uint64_t generation);
    // From the answer to a delete.
    ResourceChanges ApplyOwnDelete(std::int64_t fileId);
    ResourceChanges ApplyOwnInbox(const InboxRecord& inbox);

    std::vector<api::EnterpriseProject> Projects() const;
    // Empty if there is no such project. The following are empty if there is no such resource.
    std::optional<std::list<api::EnterpriseResourceWithContent>>
    ProjectResources(std::int64_t projectId) const;
    std::optional<api::EnterpriseResourceWithContent> Resource(std::int64_t resourceId) const;
    std::optional<FileRecord> File(std::int64_t fileId) const;
    // Whether the user has an inbox in this project.
    bool HasOwnInbox(const std::wstring& projectName) const;
    api::CurrentUser User() const;
    std::string Cursor() const;

private:
    struct Inbox
    {
        std::int64_t projectId = 0;
        std::wstring name;
        std::int64_t ownerUserId = 0;
        std::map<std::int64_t, FileRecord> files; // by id, in the service's order
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
    std::int64_t m_lastIncluded = 0; // the snapshot contains all events up to this one
    std::unordered_map<std::int64_t, std::int64_t> m_newestEventOfFile;
    // Files that our own request found removed, before the stream reported the removal. An older
    // event may still add them.
    std::unordered_set<std::int64_t> m_goneBeforeEvent;
    // Files that the stream reported as removed. The answer to their upload may still arrive.
    std::unordered_set<std::int64_t> m_removedByEvent;
};

} // namespace kesdk::impl
