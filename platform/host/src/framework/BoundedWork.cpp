#include "framework/BoundedWork.h"

#include <future>
#include <thread>
#include <utility>

bool hostimpl::RunBounded(std::function<void()> work, std::chrono::milliseconds wait)
{
    std::packaged_task<void()> task(std::move(work));
    const std::future<void> end = task.get_future();
    std::thread(std::move(task)).detach();
    return end.wait_for(wait) == std::future_status::ready;
}
