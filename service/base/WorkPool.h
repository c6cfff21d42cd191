// A few threads for work that blocks: files, hashing, passwords.
#pragma once

#include "service/base/Async.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <type_traits>
#include <vector>

namespace kelvo {

/**
 * Runs blocking work beside the I/O threads, first come first served.
 * Thread: post and run may be called from any thread; work runs on the pool's own threads.
 * Ownership: outlives every coroutine that awaits it; the destructor finishes what is queued.
 */
class WorkPool
{
public:
    explicit WorkPool(unsigned threads);
    ~WorkPool();
    WorkPool(const WorkPool&) = delete;
    WorkPool& operator=(const WorkPool&) = delete;

    void post(std::function<void()> work);

    /** Runs `work` on the pool; the caller continues on its own executor with the result or
     * exception. */
    template <class F>
    Async<std::invoke_result_t<F&>> run(F work)
    {
        using Result = std::invoke_result_t<F&>;
        if constexpr (std::is_void_v<Result>) {
            std::function<void()> job = [&work] { work(); };
            co_await runErased(std::move(job));
        } else {
            std::optional<Result> result;
            std::function<void()> job = [&work, &result] { result.emplace(work()); };
            co_await runErased(std::move(job));
            co_return std::move(*result);
        }
    }

    /** Finishes what is queued and ends the threads. Later posts are dropped. */
    void stop();

private:
    Async<void> runErased(std::function<void()> work);
    void loop();

    std::mutex mutex_; // guards queue_ and stopping_
    std::condition_variable changed_;
    std::deque<std::function<void()>> queue_;
    bool stopping_ = false;
    std::vector<std::thread> threads_;
};

/**
 * Starts an operation that calls the function it is given once, from any thread, when it is done.
 * That thread may outlive the executor of whoever waits: it is done with it before the waiter goes
 * on.
 */
using StartOperation = std::function<void(std::function<void()> done)>;

/** Suspends the calling coroutine until the operation is done; continues on its own executor. */
Async<void> awaitOperation(StartOperation start);

} // namespace kelvo
