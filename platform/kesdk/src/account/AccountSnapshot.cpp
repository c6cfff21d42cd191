// Updates of the snapshot.
#include "account/AccountSnapshot.h"

#include "base/Text.h"

#include <algorithm>
#include <utility>

namespace kesdk::impl {

namespace {

using Notification = api::IResourceChangeNotification;

// Far more files than a console removes while one answer is on its way.
constexpr std::size_t kMostRemembered = 10'000;

ResourceChange Change(Notification::EContainerKind kind, std::int64_t containerId,
                      std::int64_t resourceId)
{
    ResourceChange change;
    change.changeKind = Notification::eContentChanged;
    change.containerKind = kind;
    change.containerId = static_cast<unsigned long>(containerId);
    change.resourceId = static_cast<long>(resourceId);
    return change;
}

} // namespace

ResourceChanges AccountSnapshot::Replace(AccountRecord account)
{
    State state = ToState(std::move(account));
    const std::lock_guard lock(m_mutex);
    ResourceChanges changes = Differences(m_state, state);
    m_state = std::move(state);
    m_lastIncluded = ToInteger(m_state.cursor).value_or(0);
    m_newestEventOfFile.clear();
    m_goneBeforeEvent.clear();
    m_removedByEvent.clear();
    ++m_generation;
    return changes;
}

std::uint64_t AccountSnapshot::Generation() const
{
    const std::lock_guard lock(m_mutex);
    return m_generation;
}

ResourceChanges AccountSnapshot::ApplyEvent(const AccountEvent& event)
{
    const std::lock_guard lock(m_mutex);
    if (IsOld(event))
        return {};
    if (event.kind == EAccountEvent::eInboxAdded)
        return AddInbox(event.inbox);
    const std::int64_t id = event.file.id;
    if (event.kind == EAccountEvent::eFileAdded) {
        if (m_goneBeforeEvent.count(id) > 0)
            return {};
        m_removedByEvent.erase(id); // it was restored from the bin
        return AddFile(event.file);
    }
    if (event.kind == EAccountEvent::eFileRemoved) {
        m_goneBeforeEvent.erase(id);
        if (m_removedByEvent.size() >= kMostRemembered)
            m_removedByEvent.clear();
        m_removedByEvent.insert(id);
        return RemoveFile(id);
    }
    return {};
}

// Whether the snapshot already has this event or a newer one of its file. Also moves the cursor.
bool AccountSnapshot::IsOld(const AccountEvent& event)
{
    const std::optional<std::int64_t> number = ToInteger(event.id);
    const std::int64_t cursor = ToInteger(m_state.cursor).value_or(0);
    if (!event.id.empty() && number.value_or(cursor) >= cursor)
        m_state.cursor = event.id;
    if (!number)
        return false;
    if (*number <= m_lastIncluded)
        return true;
    if (event.kind != EAccountEvent::eFileAdded && event.kind != EAccountEvent::eFileRemoved)
        return false;
    if (m_newestEventOfFile.size() >= kMostRemembered) {
        m_newestEventOfFile.clear();
        m_lastIncluded = cursor;
    }
    std::int64_t& newest = m_newestEventOfFile[event.file.id];
    return *number <= std::exchange(newest, std::max(newest, *number));
}

ResourceChanges AccountSnapshot::ApplyOwnUpload(const std::vector<FileRecord>& files,
                                                std::uint64_t generation)
{
    const std::lock_guard lock(m_mutex);
    ResourceChanges changes;
    if (generation != m_generation)
        return changes;
    for (const FileRecord& file : files) {
        if (m_removedByEvent.count(file.id) > 0)
            continue;
        const ResourceChanges added = AddFile(file);
        changes.insert(changes.end(), added.begin(), added.end());
    }
    return changes;
}

ResourceChanges AccountSnapshot::ApplyOwnDelete(std::int64_t fileId)
{
    const std::lock_guard lock(m_mutex);
    ResourceChanges changes = RemoveFile(fileId);
    if (!changes.empty())
        m_goneBeforeEvent.insert(fileId);
    return changes;
}

ResourceChanges AccountSnapshot::ApplyOwnInbox(const InboxRecord& inbox)
{
    const std::lock_guard lock(m_mutex);
    return AddInbox(inbox);
}

AccountSnapshot::State AccountSnapshot::ToState(AccountRecord account)
{
    State state;
    state.user = std::move(account.user);
    state.cursor = std::move(account.cursor);
    for (ProjectRecord& project : account.projects) {
        Project kept{project.id, std::move(project.name), {}};
        for (InboxRecord& record : project.inboxes) {
            kept.inboxIds.push_back(record.id);
            Inbox inbox{project.id, std::move(record.name), record.ownerUserId, {}};
            for (FileRecord& file : record.entries) {
                state.inboxOfFile[file.id] = record.id;
                inbox.files.emplace_hint(inbox.files.end(), file.id, std::move(file));
            }
            state.inboxes[record.id] = std::move(inbox);
        }
        state.projects.push_back(std::move(kept));
    }
    return state;
}

ResourceChanges AccountSnapshot::Differences(const State& before, const State& after)
{
    ResourceChanges changes;
    for (const Project& project : after.projects) {
        const Project* old = FindProject(before, project.id);
        if (!old || old->inboxIds != project.inboxIds)
            changes.push_back(Change(Notification::eProjectInbox, project.id, 0));
    }
    for (const Project& project : after.projects) {
        for (const std::int64_t id : project.inboxIds) {
            const auto old = before.inboxes.find(id);
            const Inbox& inbox = after.inboxes.at(id);
            if (old == before.inboxes.end() ? !inbox.files.empty()
                                            : old->second.files != inbox.files)
                changes.push_back(Change(Notification::eUserInbox, id, 0));
        }
    }
    return changes;
}

const AccountSnapshot::Project* AccountSnapshot::FindProject(const State& state,
                                                             std::int64_t projectId)
{
    const auto found =
        std::find_if(state.projects.begin(), state.projects.end(),
                     [&](const Project& project) { return project.id == projectId; });
    return found == state.projects.end() ? nullptr : &*found;
}

AccountSnapshot::Project* AccountSnapshot::FindProject(State& state, std::int64_t projectId)
{
    return const_cast<Project*>(FindProject(std::as_const(state), projectId));
}

ResourceChanges AccountSnapshot::AddFile(const FileRecord& file)
{
    const auto inbox = m_state.inboxes.find(file.containerId);
    if (inbox == m_state.inboxes.end())
        return {};
    const auto [entry, isNew] = inbox->second.files.emplace(file.id, file);
    if (!isNew) {
        if (entry->second == file)
            return {};
        entry->second = file;
    }
    m_state.inboxOfFile[file.id] = file.containerId;
    return {Change(Notification::eUserInbox, file.containerId, file.id)};
}

ResourceChanges AccountSnapshot::RemoveFile(std::int64_t fileId)
{
    const auto found = m_state.inboxOfFile.find(fileId);
    if (found == m_state.inboxOfFile.end())
        return {};
    const std::int64_t inboxId = found->second;
    m_state.inboxOfFile.erase(found);
    m_state.inboxes[inboxId].files.erase(fileId);
    return {Change(Notification::eUserInbox, inboxId, fileId)};
}

ResourceChanges AccountSnapshot::AddInbox(const InboxRecord& record)
{
    Project* project = FindProject(m_state, record.projectId);
    if (!project || m_state.inboxes.count(record.id) > 0)
        return {};
    project->inboxIds.push_back(record.id);
    m_state.inboxes[record.id] = Inbox{record.projectId, record.name, record.ownerUserId, {}};
    ResourceChanges changes{Change(Notification::eProjectInbox, record.projectId, record.id)};
    for (const FileRecord& file : record.entries) {
        const ResourceChanges added = AddFile(file);
        changes.insert(changes.end(), added.begin(), added.end());
    }
    return changes;
}

} // namespace kesdk::impl
