#include "console/session/TFileCount.h"

namespace console {

void TFileCount::OnHubEvent(const THubEvent& event)
{
    if (event.signal == EHubSignal::eUploadRequested ||
        event.signal == EHubSignal::eDownloadRequested ||
        event.signal == EHubSignal::eDeleteFilesRequested) {
        m_current = 0;
        m_names = event.fileNames.value_or(QStringList());
        m_isRunning = !m_names.isEmpty();
        m_isCancelled = false;
    } else if (event.signal == EHubSignal::eUploadingFile ||
               event.signal == EHubSignal::eDownloadingFile ||
               event.signal == EHubSignal::eDeletingFile) {
        Reach(event.fileName.value_or(QString()));
    } else if (event.signal == EHubSignal::eLoggedOut) {
        NoteCancel();
    } else if (event.signal == EHubSignal::eUploadComplete ||
               event.signal == EHubSignal::eDownloadComplete ||
               event.signal == EHubSignal::eDeleteComplete) {
        const auto errors = event.errors.value_or(KelvoFileTransferErrorDetailsList());
        for (const KelvoFileTransferErrorDetails& error : errors) {
            Reach(error.fileName);
        }
        m_isRunning = false;
    } else if (event.signal == EHubSignal::eFileOperationComplete) {
        m_isRunning = false;
    }
}

void TFileCount::Reach(const QString& name)
{
    m_current = qMax(m_current, m_names.indexOf(name, m_current) + 1);
}

} // namespace console
