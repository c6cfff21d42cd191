// The names under which the service uses Asio's coroutines.
#pragma once

#include <boost/asio/any_io_executor.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/use_awaitable.hpp>

namespace kelvo {

namespace asio = boost::asio;

/** A coroutine of the service. It runs on the I/O thread that spawned it and never blocks it. */
template <class T>
using Async = asio::awaitable<T>;

} // namespace kelvo
