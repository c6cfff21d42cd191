// Waits until the plug-in's worker listens to the hub.
#pragma once

namespace hostimpl {
class TFedGPSCoordinator;
}

namespace console {

// Runs the event loop until the plug-in's worker has connected to the coordinator and to the hub:
// a request before that goes nowhere. False if that takes longer than `timeoutMs`.
bool WaitForWorker(hostimpl::TFedGPSCoordinator& coordinator, int timeoutMs);

} // namespace console
