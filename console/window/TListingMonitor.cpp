#include "console/window/TListingMonitor.h"

#include "hostimpl/Listing.h"

namespace console {

namespace {

constexpr int listedProjects = 6; // the service sends no job reports

} // namespace

TListingMonitor::TListingMonitor()
{
    hostimpl::SetListing(hostimpl::EListing::eLoggedOut);
}

void TListingMonitor::OnHubEvent(const THubEvent& event)
{
    if (event.signal == EHubSignal::eLoginInProgress) {
        m_listed.clear();
    } else if (event.signal == EHubSignal::eLoggedIn) {
        m_isLoggedIn = true;
    } else if (event.signal == EHubSignal::eLoggedOut) {
        m_isLoggedIn = false;
        m_listed.clear();
    } else if (event.signal == EHubSignal::eNewProjectFilesList) {
        m_listed.insert(event.project.value_or(-1));
    }
    hostimpl::SetListing(!m_isLoggedIn                      ? hostimpl::EListing::eLoggedOut
                         : m_listed.size() < listedProjects ? hostimpl::EListing::eNotListed
                                                            : hostimpl::EListing::eListed);
}

} // namespace console
