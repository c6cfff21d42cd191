// Announces a present fix once more when the plug-in has logged in.
#pragma once

#include "console/session/HubEvent.h"

namespace hostimpl {
class TFedGPSCoordinator;
}

namespace console {

// The plug-in's worker starts location sharing at a login if there is a fix, and at a fix if the
// hub is logged in. The hub becomes logged in by a queued call. If a fix comes between the login
// and that call, the worker starts in neither place, and the next GPSLost(false) may be hours away.
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
