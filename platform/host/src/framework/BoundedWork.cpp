#include "framework/BoundedWork.h"

#include <future>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

bool hostimpl::RunBounded(std::function<void()> work, std::chrono::milliseconds wait)
{
    std::packaged_task<void()> task(std::move(work));
    const std::future<void> end = task.get_future();
    try {
        std::thread([shared = std::make_shared<std::packaged_task<void()>>(std::move(task))] {
            (*shared)();
        }).detach();
    } catch (const std::system_error&) {
        return false; // no thread: the work is left to the next start
    }
    return end.wait_for(wait) == std::future_status::ready;
}
