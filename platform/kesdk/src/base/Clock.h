// Time, injected, so that tests of retries and deadlines do not wait.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace kesdk::impl {

// Returns true when the running operation must end. An empty check never does.
using AbortCheck = std::function<bool()>;

inline bool IsAborted(const AbortCheck& check)
{
    return check && check();
}

inline constexpr std::int64_t kDayS = std::int64_t{24} * 60 * 60;

class Clock
{
public:
    using Time = std::chrono::steady_clock::time_point;

    virtual ~Clock() = default;
    virtual Time Now() const = 0;
};

} // namespace kesdk::impl
