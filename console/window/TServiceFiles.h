// The files on the service, as the hub's signals tell them.
#pragma once

#include "console/session/HubEvent.h"
#include "hostimpl/Listing.h"

#include <array>
#include <optional>

namespace console {

// Sends nothing to the network. Thread: main.
class TServiceFiles
{
public:
    void OnHubEvent(const THubEvent& event);

    // For all categories together.
    hostimpl::EListing Listing() const;
    // Null until the service has listed the category, and while the operator is logged out.
    const KelvoFileInfoList* Files(int project) const;

private:
    // The lists since the last login began.
    std::array<std::optional<KelvoFileInfoList>, KELVO_PROJECT_COUNT> m_lists;
    bool m_isLoggedIn = false;
};

} // namespace console
