#include "service/maintenance/AtOnce.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace kelvo::maintenance {

namespace {

constexpr std::size_t mostThreads = 8;

}

void runAtOnce(std::size_t count, const std::function<void(std::size_t)>& work)
{
    std::atomic<std::size_t> next = 0;
    std::mutex mutex; // guards failure
    std::exception_ptr failure;
    const auto loop = [&] {
        for (std::size_t number = next++; number < count; number = next++) {
            try {
                work(number);
            } catch (...) {
                next = count;
                const std::lock_guard lock(mutex);
                failure = failure ? failure : std::current_exception();
            }
        }
    };
    {
        std::vector<std::jthread> others;
        const std::size_t used = std::min(mostThreads, count);
        for (std::size_t made = 1; made < used; ++made) {
            others.emplace_back(loop);
        }
        loop();
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

} // namespace kelvo::maintenance
