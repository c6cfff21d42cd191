#include "console/session/TFileCount.h"

#include <algorithm>

namespace console {

void TFileCount::OnHubEvent(const THubEvent& event)
{
    if (event.signal == EHubSignal::eUploadRequested ||
        event.signal == EHubSignal::eDownloadRequested ||
        event.signal == EHubSignal::eDeleteFilesRequested) {
        m_current = 0;
        m_count = event.fileNames.value_or(QStringList()).size();
    } else if (event.signal == EHubSignal::eUploadingFile ||
               event.signal == EHubSignal::eDownloadingFile ||
               event.signal == EHubSignal::eDeletingFile) {
        m_current = std::min(m_current + 1, m_count);
    } else if (event.signal == EHubSignal::eUploadComplete ||
               event.signal == EHubSignal::eDownloadComplete ||
               event.signal == EHubSignal::eDeleteComplete ||
               event.signal == EHubSignal::eFileOperationComplete) {
        m_current = m_count = 0;
    }
}

} // namespace console
