// Runs coroutines of the service on the test's thread.
#pragma once

#include "service/base/Async.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <exception>
#include <optional>
#include <stdexcept>
#include <type_traits>

namespace kelvo::test {

/** Longer than any test takes; a test that hangs fails after this time. */
constexpr std::chrono::seconds hangGuard{60};

/** An I/O thread of the service, driven by the test. */
class Loop
{
public:
    asio::io_context& io() { return io_; }
    asio::any_io_executor executor() { return io_.get_executor(); }

    /** Starts a coroutine without waiting for it. The next run rethrows its exception. */
    void start(Async<void> work)
    {
        asio::co_spawn(io_, std::move(work),
                       [this](std::exception_ptr error) { failure_ = error ? error : failure_; });
    }

    /** Runs a coroutine to its end and returns its result or throws its exception. */
    template <class T>
    T run(Async<T> work)
    {
        std::optional<T> result;
        std::exception_ptr error;
        bool done = false;
        asio::co_spawn(io_, std::move(work), [&](std::exception_ptr thrown, T value) {
            error = thrown;
            result.emplace(std::move(value));
            done = true;
        });
        runUntil([&done] { return done; });
        if (error) {
            std::rethrow_exception(error);
        }
        return std::move(*result);
    }

    void run(Async<void> work)
    {
        std::exception_ptr error;
        bool done = false;
        asio::co_spawn(io_, std::move(work), [&](std::exception_ptr thrown) {
            error = thrown;
            done = true;
        });
        runUntil([&done] { return done; });
        if (error) {
            std::rethrow_exception(error);
        }
    }

    /** Runs the loop until the condition holds. */
    template <class Condition>
    void runUntil(Condition condition)
    {
        const auto end = std::chrono::steady_clock::now() + hangGuard;
        while (!condition()) {
            io_.run_one_for(std::chrono::milliseconds(2)); // other threads change conditions too
            if (failure_) {
                std::rethrow_exception(std::exchange(failure_, nullptr));
            }
            if (std::chrono::steady_clock::now() > end) {
                throw std::runtime_error("the test hangs");
            }
        }
    }

private:
    asio::io_context io_{1};
    asio::executor_work_guard<asio::io_context::executor_type> guard_{io_.get_executor()};
    std::exception_ptr failure_;
};

} // namespace kelvo::test
