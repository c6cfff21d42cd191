// Sets the window manager that applications use.
#pragma once

#include "host/TWindowManagerApi.h"

namespace hostimpl {

// TWindowManagerApi::Instance() returns `manager` from now on; null for none. Not owned. The
// manager's destructor unregisters the manager. Main thread only.
CONSOLEHOST_EXPORT void SetWindowManager(TWindowManagerApi* manager);

} // namespace hostimpl
