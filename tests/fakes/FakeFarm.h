// A farm in memory: users, projects, inboxes and files, like those of the service.
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

// All fake connections work on one farm. Projects, inboxes and files share one space of ids. Lists
// have the order in which their entries were added. The observers are called for every change of a
// container's content.
//
// Thread safety: safe. Observers are called on the thread of the change, without the lock.
class FakeFarm
{
public:
    struct Change
    {
        kesdk::api::IResourceChangeNotification::ResourceChange change;
        std::int64_t ownerUserId = 0; // of a user inbox; 0: all users
    };
    using Observer = std::function<void(const Change&)>;

    FakeFarm();
    ~FakeFarm();

    std::int64_t AddUser(const std::wstring& name, const std::wstring& password);
    std::int64_t AddProject(const std::wstring& name);
    // "To Console" to "Project Lines", in this order.
    void AddTheSevenProjects();
    // 0 if there is no such project.
    std::int64_t AddInbox(const std::wstring& projectName, std::int64_t ownerUserId);
    // The file's id; 0 if there is no such inbox.
    std::int64_t AddFile(std::int64_t inboxId, const std::wstring& name,
                         const std::string& content);
    // Adds the entry unchanged, with any id, kind and name, also twice. A real service never lists
    // such entries.
    void AddRawInbox(std::int64_t projectId, const kesdk::api::EnterpriseResource& inbox);
    void AddRawEntry(std::int64_t inboxId, const kesdk::api::EnterpriseResource& entry);
    bool RenameEntry(std::int64_t id, const std::wstring& name);
    bool RemoveEntry(std::int64_t id);
    // From now on a query of `askedId` answers the record of `answeredId`, with its id.
    void AnswerWith(std::int64_t askedId, std::int64_t answeredId);
    // The next added project, inbox or file gets this id.
    void SetNextId(std::int64_t id);

    // The user's id.
    std::optional<std::int64_t> CheckCredentials(const std::wstring& name,
                                                 const std::wstring& password) const;
    std::wstring UserName(std::int64_t userId) const;
    // 0 if there is none.
    std::int64_t ProjectId(const std::wstring& name) const;
    std::int64_t InboxId(const std::wstring& projectName, std::int64_t ownerUserId) const;
    std::vector<std::wstring> FileNames(std::int64_t inboxId) const;
    std::optional<std::string> Content(std::int64_t fileId) const;

    // The container for the given user: another user's inbox has no entries.
    std::vector<kesdk::api::EnterpriseProject> Projects() const;
    std::list<kesdk::api::EnterpriseResourceWithContent> Inboxes(std::int64_t projectId,
                                                                 std::int64_t viewerId) const;
    // A project, an inbox or a file; a default record if there is none.
    kesdk::api::EnterpriseResourceWithContent Find(std::int64_t id, std::int64_t viewerId) const;

    int Observe(Observer observer);
    // After it returns, the observer is no longer called.
    void StopObserving(int observerId);

private:
    struct TContent;

    void Tell(const Change& change);

    mutable std::mutex m_mutex; // guards what m_content points at
    std::unique_ptr<TContent> m_content;
    std::map<std::int64_t, std::int64_t> m_otherAnswers; // guarded by m_mutex too

    std::mutex m_observerMutex; // guards the observers, held while they are called
    std::map<int, Observer> m_observers;
    int m_nextObserverId = 1;
};

} // namespace fakes
