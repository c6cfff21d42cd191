// The worker's upload: send each file, then remove the local copy.
#include "core/KelvoHelperFunctions.h"
#include "core/TKelvoInterface.h"
#include "kesdk/api/IEnterpriseConnection.h"
#include "worker/SdkBoundary.h"
#include "worker/ServiceProjects.h"
#include "worker/TKelvoThreadObject.h"
#include "worker/WorkerLog.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <vector>

void TKelvoThreadObject::OnUploadToKelvo(int toProject, QStringList fileNamesToUpload)
{
    if (m_connection == nullptr || fileNamesToUpload.isEmpty()) {
        return;
    }
    const auto project = static_cast<EKelvoProjects>(toProject);
    TErrors errors;
    const std::optional<qint64> folderId = FindOrCreateUserFolder(project, errors);

    // Prescription maps are only downloaded. An upload request for them looks up the folder and
    // sends nothing.
    if (folderId && project != ePrescriptionMaps) {
        for (const QString& name : qAsConst(fileNamesToUpload)) {
            if (KelvoInterface->IsCancelCurrentOperationRequested()) {
                break;
            }
            UploadOne(project, *folderId, name, errors);
        }
    }
    KelvoInterface->RevertCancelCurrentOperation();
    Q_EMIT KelvoUploadComplete(toProject, errors);
}

std::optional<qint64> TKelvoThreadObject::FindOrCreateUserFolder(EKelvoProjects project,
                                                                 TErrors& errors)
{
    TFoundId folder = GetToConsoleProjectUserInboxId(project);
    if (folder.first) {
        return folder.second;
    }
    if (!CreateUserInbox(project)) {
        errors.append({tr("All files"), UserFolderCreationFailed(project)});
        return std::nullopt;
    }
    folder = GetToConsoleProjectUserInboxId(project);
    if (!folder.first) {
        errors.append({tr("All files"),
                       tr("User folder '%1' created but reported as not found. Log out, re-login "
                          "and retry uploading files")
                           .arg(QString::fromWCharArray(SERVICE_PROJECT_NAMES[project]))});
        return std::nullopt;
    }
    return folder.second;
}

void TKelvoThreadObject::UploadOne(EKelvoProjects project, qint64 folderId, const QString& name,
                                   TErrors& errors)
{
    const QDir folder(KelvoHelperFunctions::GetLocalKelvoUploadFolderPathForProject(project));
    const QString path = folder.absoluteFilePath(name);
    std::vector<wchar_t> widePath(static_cast<std::size_t>(path.length()) + 1);
    QStringToTCHAR(path, widePath.data(), static_cast<int>(widePath.size()));

    Q_EMIT KelvoUploadingFile(project, name);
    if (m_connection->Upload(widePath.data(), {static_cast<quint64>(folderId)})) {
        // True means that the service has committed the same bytes.
        QFile file(path);
        if (!file.remove()) {
            // Only failed transfers get a record. The operator sees that the file is still listed.
            WriteWorkerLog(
                QStringLiteral("OnUploadToKelvo: %1 was sent, but cannot be removed here: %2")
                    .arg(name, file.errorString()));
        }
    } else {
        AppendSdkError(name, errors);
    }
}

// Appends nothing if the SDK has no record of the failure.
void TKelvoThreadObject::AppendSdkError(const QString& name, TErrors& errors)
{
    const auto sdkErrors = m_connection->GetLastErrors();
    if (!sdkErrors.empty()) {
        errors.append({name, GetLastErrorMsg(sdkErrors)});
    }
}
