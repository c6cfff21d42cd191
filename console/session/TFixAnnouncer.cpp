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
