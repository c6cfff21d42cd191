#include "service/base/WorkPool.h"

#include <boost/asio/async_result.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/this_coro.hpp>

#include <exception>
#include <memory>

namespace kelvo {

WorkPool::WorkPool(unsigned threads)
{
    try {
        for (unsigned i = 0; i < threads; ++i) {
            threads_.emplace_back([this] { loop(); });
        }
    } catch (...) { // no further thread: ends those that run
        stop();
        throw;
    }
}

WorkPool::~WorkPool()
{
    stop();
}

void WorkPool::post(std::function<void()> work, std::uint64_t client)
{
    {
        const std::lock_guard lock(mutex_);
        if (stopping_) {
            return;
        }
        const auto [queue, isNew] = queues_.try_emplace(client);
        queue->second.push_back(std::move(work));
        if (isNew) {
            turns_.push_back(client);
        }
    }
    changed_.notify_one();
}

void WorkPool::stop()
{
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
}

std::function<void()> WorkPool::takeNext()
{
    const std::uint64_t client = turns_.front();
    turns_.pop_front();
    const auto queue = queues_.find(client);
    std::function<void()> work = std::move(queue->second.front());
    queue->second.pop_front();
    if (queue->second.empty()) {
        queues_.erase(queue);
    } else {
        turns_.push_back(client);
    }
    return work;
}

void WorkPool::loop()
{
    for (;;) {
        std::function<void()> work;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return stopping_ || !turns_.empty(); });
            if (turns_.empty()) {
                return;
            }
            work = takeNext();
        }
        work();
    }
}

Async<void> WorkPool::runErased(std::function<void()> work, std::uint64_t client)
{
    std::exception_ptr error;
    StartOperation start = [this, &work, client, &error](std::function<void()> done) {
        post(
            [&work, &error, done = std::move(done)] {
                try {
                    work();
                } catch (...) {
                    error = std::current_exception();
                }
                done();
            },
            client);
    };
    co_await awaitOperation(std::move(start));
    if (error) {
        std::rethrow_exception(error);
    }
}

Async<void> awaitOperation(StartOperation start)
{
    const asio::any_io_executor executor = co_await asio::this_coro::executor;
    auto initiate = [&start, executor](auto handler) {
        // A std::function must be copyable and a coroutine's handler is not: share it.
        struct Resumption
        {
            decltype(handler) resume;
            std::mutex posting;
        };
        auto shared = std::make_shared<Resumption>(std::move(handler));
        start([shared, executor] {
            const std::lock_guard posting(shared->posting);
            asio::post(executor, [shared] {
                // The resumed coroutine may destroy the executor, which post() uses until it
                // returns.
                shared->posting.lock();
                shared->posting.unlock();
                std::move(shared->resume)();
            });
        });
    };
    co_await asio::async_initiate<const asio::use_awaitable_t<>&, void()>(initiate,
                                                                          asio::use_awaitable);
}

} // namespace kelvo
