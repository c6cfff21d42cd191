#include "service/Readiness.h"

#include "service/base/Log.h"

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <exception>

namespace kelvo {

using Steady = std::chrono::steady_clock;

constexpr std::chrono::milliseconds pollInterval{5};

Readiness::Readiness(std::vector<Check> checks, std::chrono::milliseconds bound)
    : checks_(std::move(checks)), bound_(bound)
{}

Async<std::string> Readiness::ask()
{
    if (isStopping_) {
        co_return "stopping";
    }
    unsigned long long mine = 0;
    {
        const std::lock_guard lock(mutex_);
        if (finished_ == started_) {
            ++started_;
            pool_.post([this] { runChecks(); });
        }
        mine = started_;
    }
    const auto end = Steady::now() + bound_;
    asio::steady_timer timer(co_await asio::this_coro::executor);
    for (;;) {
        {
            const std::lock_guard lock(mutex_);
            if (finished_ >= mine) {
                co_return result_;
            }
            if (Steady::now() >= end) {
                co_return running_ + ": no answer in time";
            }
        }
        timer.expires_after(pollInterval);
        co_await timer.async_wait(asio::use_awaitable);
    }
}

void Readiness::runChecks()
{
    std::string failure = firstFailure();
    const std::lock_guard lock(mutex_);
    if (failure != result_) {
        logWarning("readiness-changed", failure.empty() ? "ready" : failure);
    }
    result_ = std::move(failure);
    ++finished_;
}

std::string Readiness::firstFailure()
{
    for (const Check& check : checks_) {
        {
            const std::lock_guard lock(mutex_);
            running_ = check.what;
        }
        try {
            const std::string failure = check.work();
            if (!failure.empty()) {
                return check.what + ": " + failure;
            }
        } catch (const std::exception& error) {
            return check.what + ": " + error.what();
        }
    }
    return {};
}

} // namespace kelvo
