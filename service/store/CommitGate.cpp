#include "service/store/CommitGate.h"

namespace kelvo::store {

void CommitGate::enterReader()
{
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return commits_ == 0; });
    ++readers_;
}

void CommitGate::leaveReader()
{
    const std::lock_guard lock(mutex_);
    --readers_;
    changed_.notify_all();
}

void CommitGate::enterCommit()
{
    std::unique_lock lock(mutex_);
    ++commits_;
    changed_.wait(lock, [this] { return readers_ == 0 && !committing_; });
    committing_ = true;
}

void CommitGate::leaveCommit()
{
    const std::lock_guard lock(mutex_);
    committing_ = false;
    --commits_;
    changed_.notify_all();
}

} // namespace kelvo::store
