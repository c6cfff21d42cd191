// A coroutine sleeps here until it is woken or a time is reached.
#pragma once

#include "service/base/Async.h"

#include <boost/asio/steady_timer.hpp>

namespace kelvo {

/**
 * One sleeper, any number of wakers. A wake before the sleep is not lost. Thread: all calls on the
 * executor's one thread.
 */
class Wakeup
{
public:
    explicit Wakeup(const asio::any_io_executor& executor) : timer_(executor) {}

    /**
     * Returns at the next wake(), at `until`, or at once if wake() was called since the last sleep.
     */
    Async<void> sleepUntil(std::chrono::steady_clock::time_point until);

    void wake();

private:
    asio::steady_timer timer_;
    bool woken_ = false;
};

} // namespace kelvo
