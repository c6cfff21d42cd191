// Work on a dead medium may never end. The main thread must not wait for it.
#pragma once

#include <chrono>
#include <functional>

namespace hostimpl {

// Runs `work` on a thread of its own. Waits for the end of the work, but no longer than `wait`.
// Returns whether the work has ended. If not, it goes on until the process ends, which stops it
// anywhere: `work` owns or outlives all that it uses, and a killed `work` loses nothing.
bool RunBounded(std::function<void()> work, std::chrono::milliseconds wait);

} // namespace hostimpl
