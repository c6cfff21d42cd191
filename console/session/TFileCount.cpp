#include "console/session/TFileCount.h"

#include <algorithm>

namespace console {

void TFileCount::OnHubEvent(const THubEvent& event)
{
    if (event.signal == EHubSignal::eUploadRequested ||
        event.signal == EHubSignal::eDownloadRequested ||
        event.signal == EHubSignal::eDeleteFilesRequested) {
        m_current = 0;
        m_names = event.fileNames.value_or(QStringList());
        m_isCancelled = false;
    } else if (event.signal == EHubSignal::eUploadingFile ||
               event.signal == EHubSignal::eDownloadingFile ||
               event.signal == EHubSignal::eDeletingFile) {
        m_current = std::min(m_current + 1, Count());
    } else if (event.signal == EHubSignal::eLoggedOut) {
        NoteCancel();
    } else if (event.signal == EHubSignal::eUploadComplete ||
               event.signal == EHubSignal::eDownloadComplete ||
               event.signal == EHubSignal::eDeleteComplete ||
               event.signal == EHubSignal::eFileOperationComplete) {
        m_current = 0;
        m_names.clear();
    }
}

} // namespace console
