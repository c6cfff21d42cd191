// Counts the files of a running upload, download or deletion.
#pragma once

#include "console/session/HubEvent.h"

namespace console {

// Follows the hub's signals. Thread: main.
class TFileCount
{
public:
    void OnHubEvent(const THubEvent& event);

    // Whether an upload, download or deletion runs.
    bool IsRunning() const { return m_isRunning; }
    // The place of the last file that the operation has come to, from 1; 0 before the first file.
    // Stays after the end. A file that is gone from the service counts only from the next file or
    // the end, because the worker reports it there.
    int Current() const { return m_current; }
    int Count() const { return m_names.size(); }
    // The place of a file in the operation, from 1; 0 if it is not a file of the operation.
    int NumberOf(const QString& name) const { return m_names.indexOf(name) + 1; }
    // By the operator or by a logout. The hub has no signal for the operator's cancel.
    bool IsCancelled() const { return m_isCancelled; }
    void NoteCancel() { m_isCancelled = true; }

private:
    // A name that is not one of the next files changes nothing.
    void Reach(const QString& name);

    int m_current = 0;
    QStringList m_names; // of the files that were requested last
    bool m_isRunning = false;
    bool m_isCancelled = false;
};

} // namespace console
