#include "framework/HostLog.h"

Q_LOGGING_CATEGORY(lcHost, "console.host")
