// Replaces the clock behind TLocalTime.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QDateTime>

#include <functional>

namespace hostimpl {

using TClock = std::function<QDateTime()>;

// From now on TLocalTime asks `clock`, from whichever thread it is asked itself; an empty function
// brings the system's clock back. From any thread.
CONSOLEHOST_EXPORT void SetClock(TClock clock);

} // namespace hostimpl
