// The logging category of the host framework's own messages.
#include "framework/HostLog.h"

Q_LOGGING_CATEGORY(lcHost, "console.host")
