#include "service/kelvoctl/Backoff.h"

#include <algorithm>
#include <random>
#include <thread>

namespace kelvoctl {

bool Backoff::wait(std::chrono::milliseconds atLeast)
{
    constexpr std::chrono::milliseconds first{200};
    constexpr int doublings = 6; // at most about 13 s
    if (m_failures >= m_attempts) {
        return false;
    }
    const auto full = first * (1 << std::min(m_failures, doublings));
    std::minstd_rand random{std::random_device{}()};
    std::uniform_int_distribution<std::chrono::milliseconds::rep> part(full.count() / 2,
                                                                       full.count());
    std::this_thread::sleep_for(std::max(atLeast, std::chrono::milliseconds(part(random))));
    ++m_failures;
    return true;
}

} // namespace kelvoctl
