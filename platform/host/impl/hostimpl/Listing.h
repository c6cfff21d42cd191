// Says whether the service's files are listed, so that an empty list of names can give the reason.
#pragma once

#include "host/HostExport.h"

namespace hostimpl {

enum class EListing : int {
    eListed = 0, // the service's files are listed, or the console has no service
    eLoggedOut,
    eNotListed, // logged in, but the service's answer is not here yet
};

// EListing::eListed until the first call. Visible lists are drawn again. Main thread.
CONSOLEHOST_EXPORT void SetListing(EListing listing);
CONSOLEHOST_EXPORT EListing CurrentListing();

} // namespace hostimpl
