// Tells systemd the state of the service.
#pragma once

#include <string>

namespace kelvo {

/**
 * `state` is a line of sd_notify(3), such as "READY=1". Does nothing if systemd does not want to
 * know: without the variable NOTIFY_SOCKET. Never blocks; a failure is ignored.
 */
void tellServiceManager(const std::string& state);

} // namespace kelvo
