// A coroutine sleeps on it until somebody wakes it or a time has come.
#pragma once

#include "service/base/Async.h"

#include <boost/asio/steady_timer.hpp>

namespace kelvo {

/**
 * One sleeper, any number of wakers; a wake before the sleep is not lost.
 * Thread: all calls on the executor's one thread.
 */
class Wakeup
{
public:
    explicit Wakeup(const asio::any_io_executor& executor) : timer_(executor) {}

    /** Returns at the next wake(), at once if there was one since the last sleep, or at `until`. */
    Async<void> sleepUntil(std::chrono::steady_clock::time_point until);

    void wake();

private:
    asio::steady_timer timer_;
    bool woken_ = false;
};

} // namespace kelvo
