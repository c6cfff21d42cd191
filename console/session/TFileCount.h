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
    bool IsRunning() const { return !m_names.isEmpty(); }
    // From 1 to Count(); 0 before the first file.
    int Current() const { return m_current; }
    int Count() const { return m_names.size(); }
    // The place of a file in the operation, from 1; 0 if it is not a file of the operation.
    int NumberOf(const QString& name) const { return m_names.indexOf(name) + 1; }
    // By the operator or by a logout. The hub has no signal for the operator's cancel.
    bool IsCancelled() const { return m_isCancelled; }
    void NoteCancel() { m_isCancelled = true; }

private:
    int m_current = 0;
    QStringList m_names; // of the requested files; empty: none runs
    bool m_isCancelled = false;
};

} // namespace console
