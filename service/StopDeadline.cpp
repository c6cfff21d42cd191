#include "service/StopDeadline.h"

#include <utility>

namespace kelvo {

StopDeadline::~StopDeadline()
{
    if (!thread_) {
        return;
    }
    {
        const std::lock_guard lock(mutex_);
        isOver_ = true;
    }
    changed_.notify_all();
    thread_->join();
}

void StopDeadline::start(std::chrono::milliseconds limit, std::function<void()> expired)
{
    thread_.emplace([this, limit, expired = std::move(expired)] {
        std::unique_lock lock(mutex_);
        if (!changed_.wait_for(lock, limit, [this] { return isOver_; })) {
            expired();
        }
    });
}

} // namespace kelvo
