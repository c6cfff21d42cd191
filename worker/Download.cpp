// The worker's download: fetch archives into the temporary folder, then unpack all archives in it.
#include "core/KelvoHelperFunctions.h"
#include "core/TKelvoInterface.h"
#include "host/TFileSystemHelper.h"
#include "host/TSystemSettings.h"
#include "host/TSystemSettingsProxy.h"
#include "kesdk/api/IEnterpriseConnection.h"
#include "worker/ConsoleLong.h"
#include "worker/ReferenceIndex.h"
#include "worker/SdkBoundary.h"
#include "worker/TKelvoThreadObject.h"
#include "worker/WorkerLog.h"

#include <QtCore/QDir>

#include <vector>

void TKelvoThreadObject::OnDownloadFromKelvo(int fromProject, QStringList fileNamesToDownload,
                                             KelvoFileInfoList referenceFileInfoList)
{
    if (m_connection == nullptr || fileNamesToDownload.isEmpty()) {
        return;
    }
    const auto project = static_cast<EKelvoProjects>(fromProject);
    const QString temporaryFolder = TSystemSettingsProxy().GetKelvoTempDownloadFolderPath();
    if (!QDir(temporaryFolder).exists()) {
        QDir().mkdir(temporaryFolder);
    }
    const TReferenceIndex reference(referenceFileInfoList);
    TErrors errors;
    qint64 position = 0;
    for (const QString& name : qAsConst(fileNamesToDownload)) {
        if (KelvoInterface->IsCancelCurrentOperationRequested()) {
            break;
        }
        const QString notListed =
            tr("%1 File no longer exists. File Index not found").arg(position++);
        TResource file;
        if (FindRemoteFile(reference, name, notListed, file, errors)) {
            DownloadOne(project, file, name, temporaryFolder, errors);
        }
    }
    // Fetched archives are unpacked also after a cancel or a failure.
    TErrors unpackingErrors;
    if (!ManageKelvoDownloads(project, unpackingErrors)) {
        errors.append(unpackingErrors);
    }
    KelvoInterface->RevertCancelCurrentOperation();
    Q_EMIT KelvoDownloadComplete(fromProject, errors);
}

// Looks up a requested name in the listing. Checks that the service still has the file under this
// name.
bool TKelvoThreadObject::FindRemoteFile(const TReferenceIndex& reference, const QString& name,
                                        const QString& notListedText, TResource& found,
                                        TErrors& errors)
{
    const std::optional<long> id = reference.FindId(name);
    if (!id) {
        errors.append({name, notListedText});
        return false;
    }
    found = m_connection->GetResourceWithContent(WidenConsoleLong(*id));
    if (QString::fromStdWString(found.name) != name) {
        errors.append({name, tr("File no longer exists.")});
        return false;
    }
    return true;
}

void TKelvoThreadObject::DownloadOne(EKelvoProjects project, const TResource& file,
                                     const QString& name, const QString& folder, TErrors& errors)
{
    // The folder's path ends in a separator.
    const QString path = folder + name;
    std::vector<wchar_t> widePath(static_cast<std::size_t>(path.length()) + 1);
    QStringToTCHAR(path, widePath.data(), static_cast<int>(widePath.size()));

    Q_EMIT KelvoDownloadingFile(project, name);
    if (!m_connection->Download(file.id, widePath.data())) {
        AppendSdkError(name, errors);
    }
}

// Unpacks every archive in the folder, also those of earlier requests and earlier runs.
bool TKelvoThreadObject::ManageKelvoDownloads(EKelvoProjects project,
                                              QList<KelvoFileTransferErrorDetails>& errorList)
{
    const QDir downloadFolder(
        KelvoHelperFunctions::GetLocalKelvoDownloadFolderPathForProject(project));
    QDir temporaryFolder(TSystemSettingsProxy().GetKelvoTempDownloadFolderPath());
    const QStringList filters = {QStringLiteral("*%1").arg(TSystemSettings::ZIPExtension),
                                 QStringLiteral("*%1").arg(TSystemSettings::ZIP2Extension)};
    // Hidden files are unpacked too: a name on the service may begin with a dot.
    const QStringList archives = temporaryFolder.entryList(
        filters, QDir::Files | QDir::Hidden | QDir::NoSymLinks, QDir::Name);
    if (!downloadFolder.exists()) {
        QDir().mkpath(downloadFolder.absolutePath());
    }

    bool allUnpacked = true;
    for (const QString& archive : archives) {
        QString reason;
        if (!TFileSystemHelper::Unzip(temporaryFolder.absoluteFilePath(archive),
                                      downloadFolder.absolutePath(), reason)) {
            errorList.append({archive, tr("Failed to unzip file")});
            allUnpacked = false;
            WriteWorkerLog(QStringLiteral("ManageKelvoDownloads: ") + reason);
        }
        // The archive is removed also after a failure, so that it is not tried again.
        temporaryFolder.remove(archive);
    }
    return allUnpacked;
}
