// The names under which the herd uses Asio's coroutines and the clock.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/use_awaitable.hpp>

#include <chrono>

namespace herd {

namespace asio = boost::asio;

/** A coroutine of the herd. All coroutines run on the one thread of the io_context. */
template <class T>
using Async = asio::awaitable<T>;

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

} // namespace herd
