// Announces a present fix once more when the plug-in has logged in.
#pragma once

#include "console/session/HubEvent.h"

namespace hostimpl {
class TFedGPSCoordinator;
}

namespace console {

// The plug-in's worker starts location sharing in two places: at a login, if there is a fix; and at
// a new fix, if the hub is logged in. The hub hears of the login later than the worker, by a queued
// call. A fix that comes in between starts nothing: the worker had no fix at its login, and the hub
// is not logged in yet. So the fix is announced again when the hub has heard of the login.
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
