#include "service/store/WriteQueue.h"

#include <algorithm>

namespace kelvo::store {

bool WriteQueue::add(Change& change)
{
    {
        const std::lock_guard lock(mutex_);
        if (isClosed_) {
            return false;
        }
        queue_.push_back(&change);
    }
    changed_.notify_one();
    return true;
}

Batch WriteQueue::take()
{
    Batch batch;
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this, &batch] {
        batch = takeFree();
        return !batch.empty() || (isClosed_ && queue_.empty());
    });
    return batch;
}

Batch WriteQueue::tryTake()
{
    const std::lock_guard lock(mutex_);
    return takeFree();
}

/** The changes that may run now. */
Batch WriteQueue::takeFree()
{
    if (queue_.empty()) {
        return {};
    }
    Batch batch = queue_.front()->scope == Scope::all() ? takeAll() : takeSome();
    running_ += batch.empty() ? 0 : 1;
    return batch;
}

/** The changes of all rows at the front. */
Batch WriteQueue::takeAll()
{
    Batch batch;
    while (running_ == 0 && !queue_.empty() && queue_.front()->scope == Scope::all() &&
           batch.size() < largestBatch) {
        batch.push_back(queue_.front());
        queue_.pop_front();
    }
    if (!batch.empty()) {
        busy_.insert(Scope::all());
    }
    return batch;
}

/** This writer's share of the changes in front of the next change of all rows. */
Batch WriteQueue::takeSome()
{
    const std::size_t idle = writers_ - running_;
    const std::size_t most = std::min(largestBatch, (queue_.size() + idle - 1) / idle);
    Batch batch;
    Scopes own;
    auto next = queue_.begin();
    while (next != queue_.end() && (*next)->scope != Scope::all() && batch.size() < most) {
        if (isFree((*next)->scope, own)) {
            own.insert((*next)->scope);
            batch.push_back(*next);
            next = queue_.erase(next);
        } else {
            ++next;
        }
    }
    busy_.merge(own);
    return batch;
}

bool WriteQueue::isFree(const Scope& scope, const Scopes& own) const
{
    return own.contains(scope) || !(busy_.contains(scope) || busy_.contains(Scope::all()));
}

void WriteQueue::release(const Batch& batch)
{
    {
        const std::lock_guard lock(mutex_);
        for (const Change* change : batch) {
            busy_.erase(change->scope);
        }
        --running_;
    }
    changed_.notify_all();
}

void WriteQueue::close()
{
    {
        const std::lock_guard lock(mutex_);
        isClosed_ = true;
    }
    changed_.notify_all();
}

} // namespace kelvo::store
