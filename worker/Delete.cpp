// The worker's deletion of files on the service.
#include "core/TKelvoInterface.h"
#include "kesdk/api/IEnterpriseConnection.h"
#include "worker/ReferenceIndex.h"
#include "worker/TKelvoThreadObject.h"

// Does not refresh the listing: the SDK reports each change, which refreshes it.
void TKelvoThreadObject::OnDeleteFromKelvo(int fromProject, QStringList filesToDelete,
                                           KelvoFileInfoList referenceFileInfoList)
{
    if (m_connection == nullptr || filesToDelete.isEmpty()) {
        return;
    }
    const TReferenceIndex reference(referenceFileInfoList);
    TErrors errors;
    qint64 position = 0;
    for (const QString& name : qAsConst(filesToDelete)) {
        if (KelvoInterface->IsCancelCurrentOperationRequested()) {
            break;
        }
        const QString notListed =
            tr("%1 File no longer exists. File index not found.").arg(position++);
        TResource file;
        if (!FindRemoteFile(reference, name, notListed, file, errors)) {
            continue;
        }
        Q_EMIT KelvoDeletingFile(fromProject, name);
        if (!m_connection->Delete(file.id)) {
            AppendSdkError(name, errors);
        }
    }
    KelvoInterface->RevertCancelCurrentOperation();
    Q_EMIT KelvoDeleteComplete(fromProject, errors);
}
