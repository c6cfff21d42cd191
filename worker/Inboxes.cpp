// The worker's look-ups of projects and user inboxes, and the set-up of missing inboxes.
#include "core/TKelvoInterface.h"
#include "kesdk/api/IEnterpriseConnection.h"
#include "worker/ServiceProjects.h"
#include "worker/TKelvoThreadObject.h"

TKelvoThreadObject::TFoundId TKelvoThreadObject::GetProjectInboxId(EKelvoProjects project)
{
    for (const kesdk::api::EnterpriseProject& candidate : m_connection->GetProjects()) {
        if (candidate.name == SERVICE_PROJECT_NAMES[project]) {
            return {true, candidate.id};
        }
    }
    return {false, 0};
}

TKelvoThreadObject::TFoundId
TKelvoThreadObject::GetToConsoleProjectUserInboxId(EKelvoProjects project)
{
    const auto [found, projectId] = GetProjectInboxId(project);
    if (!found) {
        return {false, 0};
    }
    for (const TResource& resource : m_connection->GetProjectResources(projectId)) {
        if (resource.kind == kesdk::api::eUserInboxResource &&
            resource.ownerUserId == m_connection->GetCurrentUser().id) {
            return {true, resource.id};
        }
    }
    return {false, 0};
}

bool TKelvoThreadObject::CreateUserInbox(EKelvoProjects project)
{
    return GetToConsoleProjectUserInboxId(project).first ||
           m_connection->CreateUserInbox(SERVICE_PROJECT_NAMES[project]);
}

void TKelvoThreadObject::CheckKelvoAccountSetup(QList<EKelvoProjects>& missing)
{
    for (int value = 0; value < KELVO_PROJECT_COUNT; ++value) {
        const auto project = static_cast<EKelvoProjects>(value);
        if (!GetToConsoleProjectUserInboxId(project).first) {
            missing.append(project);
        }
    }
}

void TKelvoThreadObject::SetupKelvoUserInboxes(QList<EKelvoProjects> missing)
{
    if (missing.isEmpty()) {
        return;
    }
    Q_EMIT KelvoUserInboxSetupInProgress(0);
    TErrors errors;
    for (int i = 0; i < missing.size(); ++i) {
        if (!CreateUserInbox(missing.at(i))) {
            errors.append({tr("All files"), UserFolderCreationFailed(missing.at(i))});
        }
        const float done = static_cast<float>(i + 1) / static_cast<float>(missing.size());
        Q_EMIT KelvoUserInboxSetupInProgress(static_cast<int>(done * 100.0F));
    }
    KelvoInterface->RevertCancelCurrentOperation();
    Q_EMIT KelvoUserInboxSetupComplete(errors);
}

QString TKelvoThreadObject::UserFolderCreationFailed(EKelvoProjects project) const
{
    return tr("Creation of user folder '%1' failed")
        .arg(QString::fromWCharArray(SERVICE_PROJECT_NAMES[project]));
}
