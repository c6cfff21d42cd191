// Says which window manager applications reach.
#pragma once

#include "host/TWindowManagerApi.h"

namespace hostimpl {

// TWindowManagerApi::Instance() is `manager` from now on; null for none. Not owned; a manager that
// is destroyed is no longer reached. Main thread only.
CONSOLEHOST_EXPORT void SetWindowManager(TWindowManagerApi* manager);

} // namespace hostimpl
