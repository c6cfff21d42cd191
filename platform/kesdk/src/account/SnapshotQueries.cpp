// Queries of the snapshot, as the contract defines them.
#include "account/AccountSnapshot.h"

namespace kesdk::impl {

namespace {

api::EnterpriseResource ToResource(const FileRecord& file, std::int64_t ownerUserId)
{
    api::EnterpriseResource resource;
    resource.id = file.id;
    resource.kind = api::eFileResource;
    resource.name = file.name;
    resource.ownerUserId = ownerUserId;
    resource.sizeBytes = file.sizeBytes;
    return resource;
}

} // namespace

std::vector<api::EnterpriseProject> AccountSnapshot::Projects() const
{
    const std::lock_guard lock(m_mutex);
    std::vector<api::EnterpriseProject> projects;
    for (const Project& project : m_state.projects)
        projects.push_back({project.name, project.id});
    return projects;
}

std::optional<std::list<api::EnterpriseResourceWithContent>>
AccountSnapshot::ProjectResources(std::int64_t projectId) const
{
    const std::lock_guard lock(m_mutex);
    const Project* project = FindProject(m_state, projectId);
    if (!project)
        return std::nullopt;
    std::list<api::EnterpriseResourceWithContent> resources;
    for (const std::int64_t id : project->inboxIds)
        resources.push_back(ToResource(id, m_state.inboxes.at(id)));
    return resources;
}

std::optional<api::EnterpriseResourceWithContent>
AccountSnapshot::Resource(std::int64_t resourceId) const
{
    const std::lock_guard lock(m_mutex);
    if (const auto found = m_state.inboxOfFile.find(resourceId);
        found != m_state.inboxOfFile.end()) {
        const Inbox& inbox = m_state.inboxes.at(found->second);
        return api::EnterpriseResourceWithContent{
            impl::ToResource(inbox.files.at(resourceId), inbox.ownerUserId), {}};
    }
    if (const auto found = m_state.inboxes.find(resourceId); found != m_state.inboxes.end())
        return ToResource(resourceId, found->second);
    const Project* project = FindProject(m_state, resourceId);
    if (!project)
        return std::nullopt;
    api::EnterpriseResourceWithContent resource;
    resource.id = project->id;
    resource.kind = api::eProjectInboxResource;
    resource.name = project->name;
    for (const std::int64_t id : project->inboxIds) {
        api::EnterpriseResource inbox = ToResource(id, m_state.inboxes.at(id));
        resource.content.push_back(std::move(inbox));
    }
    return resource;
}

std::optional<FileRecord> AccountSnapshot::File(std::int64_t fileId) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = m_state.inboxOfFile.find(fileId);
    if (found == m_state.inboxOfFile.end())
        return std::nullopt;
    return m_state.inboxes.at(found->second).files.at(fileId);
}

bool AccountSnapshot::HasOwnInbox(const std::wstring& projectName) const
{
    const std::lock_guard lock(m_mutex);
    for (const Project& project : m_state.projects) {
        for (const std::int64_t id : project.inboxIds) {
            if (project.name == projectName &&
                m_state.inboxes.at(id).ownerUserId == m_state.user.id)
                return true;
        }
    }
    return false;
}

api::CurrentUser AccountSnapshot::User() const
{
    const std::lock_guard lock(m_mutex);
    return {m_state.user.id, m_state.user.name};
}

std::string AccountSnapshot::Cursor() const
{
    const std::lock_guard lock(m_mutex);
    return m_state.cursor;
}

api::EnterpriseResourceWithContent AccountSnapshot::ToResource(std::int64_t inboxId,
                                                               const Inbox& inbox)
{
    api::EnterpriseResourceWithContent resource;
    resource.id = inboxId;
    resource.kind = api::eUserInboxResource;
    resource.name = inbox.name;
    resource.ownerUserId = inbox.ownerUserId;
    for (const auto& [id, file] : inbox.files)
        resource.content.push_back(impl::ToResource(file, inbox.ownerUserId));
    return resource;
}

} // namespace kesdk::impl
