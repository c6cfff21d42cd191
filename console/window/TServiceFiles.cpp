#include "console/window/TServiceFiles.h"

#include "console/session/Categories.h"

#include <cstddef>

namespace console {

// The worker may list files before the hub hears of the login.
void TServiceFiles::OnHubEvent(const THubEvent& event)
{
    if (event.signal == EHubSignal::eLoginInProgress) {
        m_lists = {};
    } else if (event.signal == EHubSignal::eLoggedIn) {
        m_isLoggedIn = true;
    } else if (event.signal == EHubSignal::eLoggedOut) {
        m_isLoggedIn = false;
        m_lists = {};
    } else if (event.signal == EHubSignal::eNewProjectFilesList) {
        m_lists.at(static_cast<std::size_t>(event.project.value_or(0))) =
            event.files.value_or(KelvoFileInfoList());
    }
}

hostimpl::EListing TServiceFiles::Listing() const
{
    if (!m_isLoggedIn) {
        return hostimpl::EListing::eLoggedOut;
    }
    for (std::size_t project = 0; project < categories.size(); ++project) {
        if (categories.at(project).download != nullptr && !m_lists.at(project)) {
            return hostimpl::EListing::eNotListed;
        }
    }
    return hostimpl::EListing::eListed;
}

const KelvoFileInfoList* TServiceFiles::Files(int project) const
{
    const auto& list = m_lists.at(static_cast<std::size_t>(project));
    return m_isLoggedIn && list ? &*list : nullptr;
}

} // namespace console
