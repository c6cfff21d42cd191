// All consoles of a run: their start and their end.
#pragma once

#include "tools/herd/CommandLine.h"
#include "tools/herd/FinalCheck.h"
#include "tools/herd/Report.h"

#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace herd {

/** Thread: the thread of run(). */
class Herd
{
public:
    /** Blocks for the names of the servers. Throws std::runtime_error with a sentence for the
     * operator. Above `keptConnections`, consoles close the connections of short requests. */
    Herd(const Options& options, const std::string& adminPassword, std::size_t keptConnections);

    /** Blocks until the end. Returns the exit code of the program. */
    int run(std::ostream& report, std::ostream& progress);

private:
    Async<void> main();
    Async<void> clean();
    void makeConsoles();
    void addConsole(Farm& farm, const std::string& user, ERole role);
    void startConsoles();
    Async<void> tick();
    Async<void> sleepUntil(Clock::time_point time);
    void endLoad();
    Async<void> settle();
    void stopAfter(std::chrono::seconds time);
    Async<void> logOut();
    bool isSettled() const;
    void printProgress();
    void onSignal();
    void end(std::exception_ptr error);
    EExit tell(std::ostream& out);

    Options options_;
    Run run_;
    Identity admin_;
    asio::signal_set signals_;
    asio::steady_timer timer_;
    asio::steady_timer ticker_;
    asio::steady_timer limit_;
    std::vector<Farm> farms_;
    std::vector<std::unique_ptr<Console>> consoles_;
    FinalCheck finalCheck_;
    std::ostream* progress_ = nullptr;
    Clock::time_point nextProgress_;
    int interrupts_ = 0;
    Clock::duration loadTime_{0};
    std::size_t memoryBefore_ = 0; // KiB, before the consoles started
    std::size_t memory_ = 0;       // KiB, at the end of the load
    bool isStarted_ = false;
    bool isChecked_ = false;
    bool isCleaned_ = false;
    std::string failure_; // a sentence; empty: none
};

} // namespace herd
