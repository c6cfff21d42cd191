#include "tools/herd/Herd.h"

#include "tools/herd/Accounts.h"
#include "tools/herd/ForEach.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/redirect_error.hpp>
#include <openssl/rand.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <ostream>

namespace herd {

namespace {

constexpr milliseconds tickTime{100};
constexpr std::chrono::seconds logoutLimit{30};
constexpr std::size_t logoutsAtOnce = 100;
constexpr int adminLoginAttempts = 5;

/** Different in each run, so that no two runs give a file the same name. */
std::string newRunId()
{
    std::uint32_t number = 0;
    if (RAND_bytes(reinterpret_cast<unsigned char*>(&number), sizeof number) != 1) {
        throw std::runtime_error("There are no random numbers.");
    }
    return "herd-" + std::to_string(number);
}

double toSeconds(Clock::duration time)
{
    return std::chrono::duration<double>(time).count();
}

} // namespace

Herd::Herd(const Options& options, const std::string& adminPassword, std::size_t keptConnections)
    : options_(options),
      signals_(run_.network.io, SIGINT, SIGTERM),
      timer_(run_.network.io),
      ticker_(run_.network.io),
      limit_(run_.network.io),
      finalCheck_(run_, farms_, options.readBack, options.seed)
{
    run_.network.keptConnections = keptConnections;
    run_.network.tls = makeClientContext(options.caFile);
    for (const std::string& address : options.servers) {
        run_.network.servers.push_back(resolve(address));
    }
    if (!options.reportFile.empty() && !std::ofstream(options.reportFile, std::ios::app)) {
        throw std::runtime_error("--report: " + options.reportFile + " cannot be written");
    }
    run_.id = newRunId();
    run_.mostUploadBytes = options.mostUploadBytes;
    run_.linkBytesPerSecond = options.linkBytesPerSecond;
    admin_.user = options.admin;
    admin_.password = adminPassword;
    admin_.loginKind = EKind::Account;
    admin_.loginAttempts = adminLoginAttempts;
}

int Herd::run(std::ostream& report, std::ostream& progress)
{
    progress_ = &progress;
    onSignal();
    const auto atEnd = [this](std::exception_ptr error) { end(error); };
    asio::co_spawn(run_.network.io, options_.cleans ? clean() : main(), atEnd);
    asio::co_spawn(run_.network.io, tick(), asio::detached);
    run_.network.io.run();
    const EExit code = isStarted_ ? tell(report) : isCleaned_ ? EExit::AllHold : EExit::Refused;
    if (!failure_.empty()) {
        progress << "kelvo-herd: " << failure_ << '\n';
    }
    return static_cast<int>(code);
}

Async<void> Herd::main()
{
    co_await makeAccounts(run_.network, admin_, options_.farms, options_.consoles);
    makeConsoles();
    memoryBefore_ = peakMemoryKib();
    run_.start = Clock::now();
    startConsoles();
    isStarted_ = true;
    co_await sleepUntil(run_.start + options_.ramp + options_.duration);
    endLoad();
    co_await settle();
    for (const auto& console : consoles_) {
        console->stopWork();
    }
    stopAfter(options_.checks);
    co_await finalCheck_.run(Clock::now() + options_.checks / 2);
    isChecked_ = true;
    stopAfter(logoutLimit);
    co_await logOut();
}

Async<void> Herd::clean()
{
    const std::size_t removed = co_await removeAccounts(run_.network, admin_);
    isCleaned_ = true;
    *progress_ << "removed " << removed << " farms\n";
}

/** The offices log in first, so that their streams see all events. */
void Herd::makeConsoles()
{
    farms_.resize(options_.farms);
    for (std::uint32_t farm = 1; farm <= options_.farms; ++farm) {
        farms_[farm - 1].ledger = std::make_unique<Ledger>(run_.network.figures, run_.invariants);
        addConsole(farms_[farm - 1], officeName(farm), ERole::Office);
    }
    for (std::uint32_t farm = 1; farm <= options_.farms; ++farm) {
        const std::uint32_t operators = operatorsOf(farm, options_.farms, options_.consoles);
        for (std::uint32_t seat = 1; seat <= operators; ++seat) {
            addConsole(farms_[farm - 1], operatorName(farm, seat), ERole::Operator);
        }
    }
}

void Herd::addConsole(Farm& farm, const std::string& user, ERole role)
{
    const auto number = static_cast<std::uint32_t>(consoles_.size());
    const milliseconds begin =
        milliseconds(options_.ramp) * number / (options_.farms + options_.consoles);
    const milliseconds end = options_.ramp + options_.duration;
    const Schedule work(options_.seed, number, ratesOf(role, options_.rates, false), begin, end);
    const Schedule lost(options_.seed, number, ratesOf(role, options_.rates, true), begin, end);
    consoles_.push_back(std::make_unique<Console>(run_, *farm.ledger, Place{number, role},
                                                  identityOf(user, admin_.password), work, lost));
    farm.members.push_back(consoles_.back().get());
}

void Herd::startConsoles()
{
    const auto atEnd = [this](std::exception_ptr error) {
        if (error) {
            end(error);
        }
    };
    for (std::size_t i = 0; i < consoles_.size(); ++i) {
        const Clock::time_point begin =
            run_.start + milliseconds(options_.ramp) * i / consoles_.size();
        asio::co_spawn(run_.network.io, consoles_[i]->listen(begin), atEnd);
        asio::co_spawn(run_.network.io, consoles_[i]->work(), atEnd);
    }
}

/** Limits, lost links and progress. Never returns. */
Async<void> Herd::tick()
{
    nextProgress_ = Clock::now() + options_.progress;
    for (;;) {
        ticker_.expires_after(tickTime);
        co_await ticker_.async_wait(asio::use_awaitable);
        run_.network.expireLinks();
        const Clock::time_point now = Clock::now();
        for (const auto& console : consoles_) {
            console->tick(now);
        }
        if (options_.progress.count() > 0 && now >= nextProgress_) {
            nextProgress_ = now + options_.progress;
            printProgress();
        }
    }
}

/** Returns earlier after a signal. */
Async<void> Herd::sleepUntil(Clock::time_point time)
{
    timer_.expires_at(time);
    boost::system::error_code ignored;
    co_await timer_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
}

void Herd::endLoad()
{
    run_.isEnding = true;
    loadTime_ = Clock::now() - run_.start;
    memory_ = peakMemoryKib();
    for (const auto& console : consoles_) {
        console->end();
    }
}

bool Herd::isSettled() const
{
    return std::all_of(consoles_.begin(), consoles_.end(),
                       [](const auto& console) { return console->isSettled(); });
}

/** Waits for running actions and for lost streams. */
Async<void> Herd::settle()
{
    const Clock::time_point end = Clock::now() + options_.settle;
    while (!isSettled() && Clock::now() < end) {
        co_await sleepUntil(Clock::now() + tickTime);
    }
}

/** Ends the run after this time, also in the middle of a request. A later call moves the end. */
void Herd::stopAfter(std::chrono::seconds time)
{
    limit_.expires_after(time);
    limit_.async_wait([this](const boost::system::error_code& error) {
        if (!error) {
            run_.network.io.stop();
        }
    });
}

/** A console whose work was stopped keeps its session. */
Async<void> Herd::logOut()
{
    const auto logOutOne = [this](std::size_t, std::size_t number) -> Async<void> {
        Console& console = *consoles_[number];
        if (console.isDone() && console.isLoggedIn()) {
            try {
                co_await console.logOut();
            } catch (const GivenUp&) {
                // The session expires.
            }
        }
    };
    co_await forEach(consoles_.size(), logoutsAtOnce, logOutOne);
}

void Herd::printProgress()
{
    const Figures& figures = run_.network.figures;
    const auto loggedIn = std::count_if(consoles_.begin(), consoles_.end(),
                                        [](const auto& console) { return console->isLoggedIn(); });
    const std::uint64_t uploads =
        figures.of(EKind::Upload).count() + figures.of(EKind::Send).count();
    if (!isStarted_) {
        *progress_ << "accounts: " << figures.of(EKind::Account).count() << " requests";
    } else {
        *progress_ << static_cast<long>(toSeconds(Clock::now() - run_.start)) << " s: logged in "
                   << loggedIn << " of " << consoles_.size() << ", streams " << run_.streamsOpen
                   << ", uploads " << uploads << " and " << run_.uploadsOpen << " open";
    }
    *progress_ << ", failures " << figures.failures() << std::endl;
}

void Herd::onSignal()
{
    signals_.async_wait([this](const boost::system::error_code& error, int) {
        if (error) {
            return;
        }
        if (++interrupts_ > 1 || !isStarted_) {
            run_.network.io.stop();
        }
        timer_.cancel(); // the load ends
        onSignal();
    });
}

/** Stops everything; the coroutines end with the io_context. */
void Herd::end(std::exception_ptr error)
{
    try {
        if (error) {
            std::rethrow_exception(error);
        }
    } catch (const std::exception& reason) {
        failure_ = failure_.empty() ? reason.what() : failure_;
    }
    run_.network.io.stop();
}

/** Prints and writes the report. */
EExit Herd::tell(std::ostream& out)
{
    if (!run_.isEnding) {
        endLoad(); // a failure has ended the run
    }
    const Report report{
        .options = options_,
        .run = run_,
        .checked = finalCheck_.checked(),
        .isChecked = isChecked_,
        .loadS = toSeconds(loadTime_),
        .peakKib = memory_,
        .consoleKib = (memory_ - memoryBefore_) / consoles_.size(),
    };
    EExit code = report.exitCode();
    try {
        report.print(out);
        report.write(options_.reportFile);
    } catch (const std::runtime_error& error) {
        failure_ = error.what();
        code = code == EExit::AllHold ? EExit::Unreported : code;
    }
    return code;
}

} // namespace herd
