// Tells the plug-in of a present fix once more when it has logged in.
#include "console/session/TFixAnnouncer.h"

#include "hostimpl/TFedGPSCoordinator.h"

namespace console {

TFixAnnouncer::TFixAnnouncer(hostimpl::TFedGPSCoordinator& coordinator) : m_coordinator(coordinator)
{}

void TFixAnnouncer::OnHubEvent(const THubEvent& event) const
{
    if (event.signal == EHubSignal::eLoggedIn) {
        m_coordinator.AnnounceFix();
    }
}

} // namespace console
