// Tells the lists of names whether the service has listed its files.
#pragma once

#include "console/session/HubEvent.h"

#include <QtCore/QSet>

namespace console {

// Derives it from the hub's signals; sends nothing to the network. Thread: main.
class TListingMonitor
{
public:
    TListingMonitor(); // logged out

    void OnHubEvent(const THubEvent& event);

private:
    QSet<int> m_listed; // projects that were listed since the last login began
    bool m_isLoggedIn = false;
};

} // namespace console
