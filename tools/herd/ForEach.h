// Runs a coroutine for each of many numbers, some at the same time.
#pragma once

#include "tools/herd/Async.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>

#include <algorithm>
#include <cstddef>
#include <exception>

namespace herd {

/**
 * Runs task(worker, number) for each number below `count`. `worker` is below `width`; a worker runs
 * one task at a time. Throws the first exception of a task when the running tasks have ended.
 */
template <class Task>
Async<void> forEach(std::size_t count, std::size_t width, Task task)
{
    const auto executor = co_await asio::this_coro::executor;
    asio::steady_timer oneEnded(executor, Clock::time_point::max());
    std::size_t next = 0;
    std::size_t running = std::min(count, width);
    std::exception_ptr failure;
    const auto work = [&](std::size_t worker) -> Async<void> {
        while (next < count && !failure) {
            co_await task(worker, next++);
        }
    };
    for (std::size_t worker = 0; worker < std::min(count, width); ++worker) {
        asio::co_spawn(executor, work(worker), [&](std::exception_ptr error) {
            failure = failure ? failure : error;
            --running;
            oneEnded.cancel();
        });
    }
    while (running > 0) {
        boost::system::error_code ignored;
        co_await oneEnded.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

} // namespace herd
