// Tells the plug-in of a present fix once more when it has logged in.
#pragma once

#include "console/session/HubEvent.h"

namespace hostimpl {
class TFedGPSCoordinator;
}

namespace console {

// The plug-in's worker begins to share its position with a login, or with a fix if it is logged in
// by then. Both ask for the other, and the hub learns of the login by a queued call: a fix that
// comes in between finds nobody logged in, and the next one that is told may be hours away.
//
// Thread: main. Ownership: the coordinator must outlive it.
class TFixAnnouncer
{
public:
    explicit TFixAnnouncer(hostimpl::TFedGPSCoordinator& coordinator);

    // From within the hub's emission, so that nothing comes in between again.
    void OnHubEvent(const THubEvent& event) const;

private:
    hostimpl::TFedGPSCoordinator& m_coordinator;
};

} // namespace console
