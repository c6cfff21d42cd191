// Waits until the plug-in's worker listens to the hub.
#pragma once

class TKelvoInterface;

namespace console {

// Whether every request signal of the hub has a receiver. A request before that goes nowhere. To be
// asked before the console connects to the hub itself.
bool IsWorkerListening(TKelvoInterface& hub);

// Runs the event loop until the worker listens. False if that takes longer than `timeoutMs`.
bool WaitForWorker(TKelvoInterface& hub, int timeoutMs);

} // namespace console
