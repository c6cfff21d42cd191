// Each operation runs under the lock. Then the observers are called without the lock.
#include "tests/fakes/FakeFarm.h"

#include "tests/fakes/FakeFarmContent.h"

#include <utility>

namespace fakes {

using kesdk::api::EnterpriseProject;
using kesdk::api::EnterpriseResource;
using kesdk::api::EnterpriseResourceWithContent;
using kesdk::api::IResourceChangeNotification;

namespace {

using Lock = std::lock_guard<std::mutex>;

constexpr const wchar_t* SEVEN_PROJECTS[] = {
    L"To Console", L"From Console",  L"AB Lines",      L"Curves",
    L"Pivots",     L"Optimal Lines", L"Project Lines",
};

FakeFarm::Change ChangeIn(std::int32_t containerKind, std::int64_t containerId,
                          std::int64_t resourceId, std::int64_t ownerUserId)
{
    FakeFarm::Change change;
    change.change.resourceId = static_cast<long>(resourceId);
    change.change.containerKind = containerKind;
    change.change.containerId = static_cast<unsigned long>(containerId);
    change.ownerUserId = ownerUserId;
    return change;
}

FakeFarm::Change ChangeIn(const EnterpriseResource& inbox, std::int64_t entryId)
{
    return ChangeIn(IResourceChangeNotification::eUserInbox, inbox.id, entryId, inbox.ownerUserId);
}

} // namespace

FakeFarm::FakeFarm() : m_content(std::make_unique<TContent>()) {}

FakeFarm::~FakeFarm() = default;

std::int64_t FakeFarm::AddUser(const std::wstring& name, const std::wstring& password)
{
    const Lock lock(m_mutex);
    const auto id =
        static_cast<std::int64_t>(m_content->users.size()) + 1; // users have their own ids
    m_content->users.push_back({id, name, password});
    return id;
}

std::int64_t FakeFarm::AddProject(const std::wstring& name)
{
    const Lock lock(m_mutex);
    const std::int64_t id = m_content->nextId++;
    TContent::TProject project;
    project.record.id = id;
    project.record.name = name;
    m_content->projects.push_back(project);
    return id;
}

void FakeFarm::AddTheSevenProjects()
{
    for (const wchar_t* name : SEVEN_PROJECTS)
        AddProject(name);
}

std::int64_t FakeFarm::AddInbox(const std::wstring& projectName, std::int64_t ownerUserId)
{
    EnterpriseResource record;
    std::int64_t projectId = 0;
    {
        const Lock lock(m_mutex);
        TContent::TProject* project = m_content->FindProject(projectName);
        if (!project)
            return 0;
        projectId = project->record.id;
        record.id = m_content->nextId++;
        record.kind = kesdk::api::eUserInboxResource;
        record.ownerUserId = ownerUserId;
        if (const TContent::TUser* owner = m_content->FindUser(ownerUserId))
            record.name = owner->name;
        project->inboxes.push_back({record, {}});
    }
    Tell(ChangeIn(IResourceChangeNotification::eProjectInbox, projectId, record.id, 0));
    return record.id;
}

std::int64_t FakeFarm::AddFile(std::int64_t inboxId, const std::wstring& name,
                               const std::string& content)
{
    EnterpriseResource inboxRecord;
    EnterpriseResource record;
    {
        const Lock lock(m_mutex);
        TContent::TInbox* inbox = m_content->FindInbox(inboxId);
        if (!inbox)
            return 0;
        inboxRecord = inbox->record;
        record.id = m_content->nextId++;
        record.kind = kesdk::api::eFileResource;
        record.name = name;
        record.ownerUserId = inboxRecord.ownerUserId;
        record.sizeBytes = static_cast<std::int64_t>(content.size());
        m_content->AddEntry(*inbox, {record, content});
    }
    Tell(ChangeIn(inboxRecord, record.id));
    return record.id;
}

void FakeFarm::AddRawInbox(std::int64_t projectId, const EnterpriseResource& inbox)
{
    const Lock lock(m_mutex);
    if (TContent::TProject* project = m_content->FindProject(projectId))
        project->inboxes.push_back({inbox, {}});
}

void FakeFarm::AddRawEntry(std::int64_t inboxId, const EnterpriseResource& entry)
{
    const Lock lock(m_mutex);
    if (TContent::TInbox* inbox = m_content->FindInbox(inboxId))
        m_content->AddEntry(*inbox, {entry, {}});
}

bool FakeFarm::RenameEntry(std::int64_t id, const std::wstring& name)
{
    EnterpriseResource inbox;
    {
        const Lock lock(m_mutex);
        TContent::TPlace* place = m_content->FindPlace(id);
        if (!place)
            return false;
        place->entry->record.name = name;
        inbox = place->inbox->record;
    }
    Tell(ChangeIn(inbox, id));
    return true;
}

bool FakeFarm::RemoveEntry(std::int64_t id)
{
    EnterpriseResource inbox;
    {
        const Lock lock(m_mutex);
        TContent::TPlace* place = m_content->FindPlace(id);
        if (!place)
            return false;
        inbox = place->inbox->record;
        m_content->RemoveEntry(id);
    }
    Tell(ChangeIn(inbox, id));
    return true;
}

void FakeFarm::SetNextId(std::int64_t id)
{
    const Lock lock(m_mutex);
    m_content->nextId = id;
}

std::optional<std::int64_t> FakeFarm::CheckCredentials(const std::wstring& name,
                                                       const std::wstring& password) const
{
    const Lock lock(m_mutex);
    for (const TContent::TUser& user : m_content->users) {
        if (user.name == name && user.password == password)
            return user.id;
    }
    return std::nullopt;
}

std::wstring FakeFarm::UserName(std::int64_t userId) const
{
    const Lock lock(m_mutex);
    const TContent::TUser* user = m_content->FindUser(userId);
    return user ? user->name : std::wstring();
}

std::int64_t FakeFarm::ProjectId(const std::wstring& name) const
{
    const Lock lock(m_mutex);
    const TContent::TProject* project = m_content->FindProject(name);
    return project ? project->record.id : 0;
}

std::int64_t FakeFarm::InboxId(const std::wstring& projectName, std::int64_t ownerUserId) const
{
    const Lock lock(m_mutex);
    if (const TContent::TProject* project = m_content->FindProject(projectName)) {
        for (const TContent::TInbox& inbox : project->inboxes) {
            if (inbox.record.kind == kesdk::api::eUserInboxResource &&
                inbox.record.ownerUserId == ownerUserId)
                return inbox.record.id;
        }
    }
    return 0;
}

std::vector<std::wstring> FakeFarm::FileNames(std::int64_t inboxId) const
{
    const Lock lock(m_mutex);
    std::vector<std::wstring> names;
    if (const TContent::TInbox* inbox = m_content->FindInbox(inboxId)) {
        for (const TContent::TEntry& entry : inbox->entries)
            names.push_back(entry.record.name);
    }
    return names;
}

std::optional<std::string> FakeFarm::Content(std::int64_t fileId) const
{
    const Lock lock(m_mutex);
    const TContent::TPlace* place = m_content->FindPlace(fileId);
    return place ? std::optional<std::string>(place->entry->content) : std::nullopt;
}

std::vector<EnterpriseProject> FakeFarm::Projects() const
{
    const Lock lock(m_mutex);
    std::vector<EnterpriseProject> projects;
    for (const TContent::TProject& project : m_content->projects)
        projects.push_back(project.record);
    return projects;
}

std::list<EnterpriseResourceWithContent> FakeFarm::Inboxes(std::int64_t projectId,
                                                           std::int64_t viewerId) const
{
    const Lock lock(m_mutex);
    std::list<EnterpriseResourceWithContent> inboxes;
    if (const TContent::TProject* project = m_content->FindProject(projectId)) {
        for (const TContent::TInbox& inbox : project->inboxes)
            inboxes.push_back(TContent::Visible(inbox, viewerId));
    }
    return inboxes;
}

void FakeFarm::AnswerWith(std::int64_t askedId, std::int64_t answeredId)
{
    const Lock lock(m_mutex);
    m_otherAnswers[askedId] = answeredId;
}

EnterpriseResourceWithContent FakeFarm::Find(std::int64_t id, std::int64_t viewerId) const
{
    const Lock lock(m_mutex);
    if (const auto other = m_otherAnswers.find(id); other != m_otherAnswers.end())
        id = other->second;
    EnterpriseResourceWithContent found;
    if (const TContent::TProject* project = m_content->FindProject(id)) {
        found.id = id;
        found.kind = kesdk::api::eProjectInboxResource;
        found.name = project->record.name;
        for (const TContent::TInbox& inbox : project->inboxes)
            found.content.push_back(inbox.record);
    } else if (const TContent::TInbox* inbox = m_content->FindInbox(id)) {
        found = TContent::Visible(*inbox, viewerId);
    } else if (const TContent::TPlace* place = m_content->FindPlace(id);
               place && place->inbox->record.ownerUserId == viewerId) {
        static_cast<EnterpriseResource&>(found) = place->entry->record;
    }
    return found;
}

int FakeFarm::Observe(Observer observer)
{
    const Lock lock(m_observerMutex);
    m_observers.emplace(m_nextObserverId, std::move(observer));
    return m_nextObserverId++;
}

void FakeFarm::StopObserving(int observerId)
{
    const Lock lock(m_observerMutex);
    m_observers.erase(observerId);
}

void FakeFarm::Tell(const Change& change)
{
    const Lock lock(m_observerMutex);
    for (const auto& [id, observer] : m_observers)
        observer(change);
}

} // namespace fakes
