// The threads that serve connections.
#pragma once

#include "service/http/Listener.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <thread>
#include <vector>

namespace kelvo {

/**
 * One io_context per thread, so the objects of a connection need no locks. Driven by the main
 * thread.
 */
class IoThreads
{
public:
    IoThreads();
    ~IoThreads();
    IoThreads(const IoThreads&) = delete;
    IoThreads& operator=(const IoThreads&) = delete;

    std::vector<asio::io_context*> contexts();

    void start();

    /**
     * Whether each thread has done the job that the last call gave it. If so, gives each a new job.
     * A thread that hangs answers no more. The pools that wait for a disk or a database are not
     * asked: a restart would not help. Readiness shows a disk or a database that does not answer.
     */
    bool haveAnswered();

    /**
     * Stops the listeners and waits up to `grace` for their connections, then closes the
     * connections. Blocks.
     */
    void drain(const std::vector<http::Listener*>& listeners, std::chrono::milliseconds grace);

private:
    using Guard = asio::executor_work_guard<asio::io_context::executor_type>;

    void stop();

    std::atomic<std::size_t> unanswered_{0}; // jobs of haveAnswered()
    std::vector<std::unique_ptr<asio::io_context>> contexts_;
    std::vector<Guard> guards_; // a context without work must not end its thread
    std::vector<std::thread> threads_;
};

} // namespace kelvo
