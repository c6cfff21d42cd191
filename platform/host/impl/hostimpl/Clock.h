// Replaces the clock behind TLocalTime.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QDateTime>

#include <functional>

namespace hostimpl {

using TClock = std::function<QDateTime()>;

// TLocalTime calls `clock` from now on, on the thread that asks TLocalTime. An empty function
// restores the system's clock. From any thread.
CONSOLEHOST_EXPORT void SetClock(TClock clock);

} // namespace hostimpl
