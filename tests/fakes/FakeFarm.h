// A farm in memory: users, projects, inboxes and files, as the service would hold them.
#pragma once

#include "kesdk/api/IResourceChangeNotification.h"
#include "kesdk/api/Resources.h"

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace fakes {

// What the far end of every fake connection holds. Projects, inboxes and files share one space of
// ids; order is the order in which things were added. Every change of a container's content is
// told to the observers, whoever caused it.
//
// Thread safety: from any thread; observers are called on the changing thread, without the lock.
class FakeFarm
{
public:
    struct Change
    {
        kesdk::api::IResourceChangeNotification::ResourceChange change;
        std::int64_t ownerUserId = 0; // of a user inbox; 0 = everybody's concern
    };
    using Observer = std::function<void(const Change&)>;

    FakeFarm();
    ~FakeFarm();

    std::int64_t AddUser(const std::wstring& name, const std::wstring& password);
    std::int64_t AddProject(const std::wstring& name);
    // "To Console" to "Project Lines", in that order.
    void AddTheSevenProjects();
    // 0 when there is no such project.
    std::int64_t AddInbox(const std::wstring& projectName, std::int64_t ownerUserId);
    // The file's id; 0 when there is no such inbox.
    std::int64_t AddFile(std::int64_t inboxId, const std::wstring& name,
                         const std::string& content);
    // As it is, with any id, kind and name, also twice: what no honest service would list.
    void AddRawInbox(std::int64_t projectId, const kesdk::api::EnterpriseResource& inbox);
    void AddRawEntry(std::int64_t inboxId, const kesdk::api::EnterpriseResource& entry);
    bool RenameEntry(std::int64_t id, const std::wstring& name);
    bool RemoveEntry(std::int64_t id);
    // The next thing that is added gets this id.
    void SetNextId(std::int64_t id);

    // The user's id.
    std::optional<std::int64_t> CheckCredentials(const std::wstring& name,
                                                 const std::wstring& password) const;
    std::wstring UserName(std::int64_t userId) const;
    // 0 when there is none.
    std::int64_t ProjectId(const std::wstring& name) const;
    std::int64_t InboxId(const std::wstring& projectName, std::int64_t ownerUserId) const;
    std::vector<std::wstring> FileNames(std::int64_t inboxId) const;
    std::optional<std::string> Content(std::int64_t fileId) const;

    // As the user sees it: another user's inbox has no entries.
    std::vector<kesdk::api::EnterpriseProject> Projects() const;
    std::list<kesdk::api::EnterpriseResourceWithContent> Inboxes(std::int64_t projectId,
                                                                 std::int64_t viewerId) const;
    // A project, an inbox or a file; a default record when there is no such thing.
    kesdk::api::EnterpriseResourceWithContent Find(std::int64_t id, std::int64_t viewerId) const;

    int Observe(Observer observer);
    // Once it returns, the observer is not called any more.
    void StopObserving(int observerId);

private:
    struct TContent;

    void Tell(const Change& change);

    mutable std::mutex m_mutex; // guards what m_content points at
    std::unique_ptr<TContent> m_content;

    std::mutex m_observerMutex; // guards the observers, held while they are called
    std::map<int, Observer> m_observers;
    int m_nextObserverId = 1;
};

} // namespace fakes
