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
    bool IsRunning() const { return m_count > 0; }
    // From 1 to Count(); 0 before the first file.
    int Current() const { return m_current; }
    int Count() const { return m_count; }

private:
    int m_current = 0;
    int m_count = 0; // 0 = none runs
};

} // namespace console
