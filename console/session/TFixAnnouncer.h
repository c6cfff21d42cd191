// Announces a present fix once more when the plug-in has logged in.
#pragma once

#include "console/session/HubEvent.h"

namespace hostimpl {
class TFedGPSCoordinator;
}

namespace console {

// The plug-in's worker starts location sharing at a login, if there is a fix, and at a new fix, if
// the hub is logged in. The worker learns of the login first, the hub later by a queued call. A fix
// between the two starts nothing. So the fix is announced again when the hub has learned of the
// login.
//
// Thread: main. Ownership: the coordinator must outlive it.
class TFixAnnouncer
{
public:
    explicit TFixAnnouncer(hostimpl::TFedGPSCoordinator& coordinator);

    // Call it directly from the hub's signal: no other event may come in between.
    void OnHubEvent(const THubEvent& event) const;

private:
    hostimpl::TFedGPSCoordinator& m_coordinator;
};

} // namespace console
