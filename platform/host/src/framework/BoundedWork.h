// Work on a dead medium may never end. The main thread must not wait for it.
#pragma once

#include <chrono>
#include <functional>

namespace hostimpl {

// Runs `work` on a separate thread. Waits for the end of the work, but no longer than `wait`.
// Returns whether the work has ended. If it returns false, the thread continues, and the end of the
// process stops `work` at any line. So `work` must own what it uses, and a stop must lose nothing.
// Without a thread the work is not done, and the result is false.
bool RunBounded(std::function<void()> work, std::chrono::milliseconds wait);

} // namespace hostimpl
