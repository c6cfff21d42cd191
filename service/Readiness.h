// Whether the service can work now.
#pragma once

#include "service/base/Async.h"
#include "service/base/WorkPool.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace kelvo {

/**
 * Runs checks that read and write for real. They run on a separate thread, so a disk that hangs
 * does not hang the caller.
 *
 * Thread: ask() on any I/O thread. Ownership: what the checks use outlives this object. Its
 * destructor waits for a running check.
 */
class Readiness
{
public:
    struct Check
    {
        std::string what;                  // what does not work if the check fails
        std::function<std::string()> work; // blocks; returns the failure, empty: good; may throw
    };

    explicit Readiness(std::vector<Check> checks,
                       std::chrono::milliseconds bound = std::chrono::seconds(2));

    /**
     * Returns why the service is not ready, or an empty text. Returns within the bound: a check
     * that takes longer is a failure. Calls at the same time share one run of the checks.
     */
    Async<std::string> ask();

    /** From now on ask() returns "stopping" at once. Any thread. */
    void beginStop() { isStopping_ = true; }

private:
    void runChecks();
    std::string firstFailure();

    const std::vector<Check> checks_;
    const std::chrono::milliseconds bound_;
    std::atomic<bool> isStopping_{false};
    std::mutex mutex_; // guards the members below, but not pool_
    unsigned long long started_ = 0;
    unsigned long long finished_ = 0;
    std::string result_;
    std::string running_; // what is checked now
    WorkPool pool_{1};    // the last member: its thread uses the others
};

} // namespace kelvo
