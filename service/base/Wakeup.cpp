#include "service/base/Wakeup.h"

#include <boost/asio/redirect_error.hpp>

namespace kelvo {

Async<void> Wakeup::sleepUntil(std::chrono::steady_clock::time_point until)
{
    if (!woken_) {
        timer_.expires_at(until);
        boost::system::error_code cancelled;
        co_await timer_.async_wait(asio::redirect_error(asio::use_awaitable, cancelled));
    }
    woken_ = false;
}

void Wakeup::wake()
{
    woken_ = true;
    timer_.cancel();
}

} // namespace kelvo
