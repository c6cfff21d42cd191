// A few threads for work that blocks: files, hashing, passwords.
#pragma once

#include "service/base/Async.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace kelvo {

/**
 * Runs blocking work beside the I/O threads. Clients take turns, so a client with much work delays
 * the work of another client by one of its jobs only. The work of one client runs in the order of
 * its arrival. Work without a client shares one queue. Thread: post and run may be called from
 * any thread; work runs on the pool's threads. Ownership: outlives every coroutine
 * that awaits it; the destructor finishes the queued work.
 */
class WorkPool
{
public:
    explicit WorkPool(unsigned threads);
    ~WorkPool();
    WorkPool(const WorkPool&) = delete;
    WorkPool& operator=(const WorkPool&) = delete;

    void post(std::function<void()> work, std::uint64_t client = 0);

    /**
     * Runs `work` on the pool. The caller continues on its own executor with the result or the
     * exception.
     */
    template <class F>
    Async<std::invoke_result_t<F&>> run(F work, std::uint64_t client = 0)
    {
        using Result = std::invoke_result_t<F&>;
        if constexpr (std::is_void_v<Result>) {
            std::function<void()> job = [&work] { work(); };
            co_await runErased(std::move(job), client);
        } else {
            std::optional<Result> result;
            std::function<void()> job = [&work, &result] { result.emplace(work()); };
            co_await runErased(std::move(job), client);
            co_return std::move(*result);
        }
    }

    /** Finishes the queued work and ends the threads. Later posts are dropped. */
    void stop();

private:
    Async<void> runErased(std::function<void()> work, std::uint64_t client);
    std::function<void()> takeNext();
    void loop();

    std::mutex mutex_; // guards the members down to stopping_
    std::condition_variable changed_;
    std::unordered_map<std::uint64_t, std::deque<std::function<void()>>> queues_; // none is empty
    std::deque<std::uint64_t> turns_; // each client with a queue, once
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

/**
 * Starts an operation. The operation calls `done` once, from any thread. That thread may outlive
 * the waiter's executor: `done` uses the executor only before the waiter continues.
 */
using StartOperation = std::function<void(std::function<void()> done)>;

/** Suspends the calling coroutine until the operation is done; it continues on its own executor. */
Async<void> awaitOperation(StartOperation start);

} // namespace kelvo
