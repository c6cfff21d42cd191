// The changes that wait for a writer.
#pragma once

#include "service/store/Change.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>

namespace kelvo::store {

/**
 * Hands out batches of changes whose scopes no other writer works on. Changes of one scope leave in
 * the order in which they came. A change of all rows waits until no writer works; the changes
 * behind it wait too.
 *
 * Thread: any.
 */
class WriteQueue
{
public:
    explicit WriteQueue(std::size_t writers) : writers_(writers) {}

    /** False if the queue is closed. The change must live until it was in a batch. */
    bool add(Change& change);

    /** Blocks until some changes may run. Empty: the queue is closed, and no change is left. */
    Batch take();

    /** As take(), without the wait: empty if no change may run now. */
    Batch tryTake();

    /** Call after the changes of take() have run, while they still exist. */
    void release(const Batch& batch);

    /** The changes in the queue can still be taken. */
    void close();

private:
    /** The largest number of changes in one commit. It limits the wait of the first change. */
    static constexpr std::size_t largestBatch = 128;

    Batch takeFree();
    Batch takeAll();
    Batch takeSome();
    bool isFree(const Scope& scope, const Scopes& own) const;

    const std::size_t writers_;
    std::mutex mutex_; // guards the members below
    std::condition_variable changed_;
    std::deque<Change*> queue_;
    Scopes busy_;             // the scopes of the running batches
    std::size_t running_ = 0; // batches
    bool isClosed_ = false;
};

} // namespace kelvo::store
