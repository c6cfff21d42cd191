// Facts about the console that the transport needs.
#pragma once

#include "base/Clock.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace kesdk::impl {

// Injected, so that tests need no real sleep, lost address or wrong clock.
// Thread safety: safe.
struct ConsoleFacts
{
    // The console's clock: seconds since 1970.
    std::function<std::int64_t()> wallTimeS;
    // The steady clock, for the limits of requests.
    std::function<Clock::Time()> now;
    // How long the console has slept since its start. The steady clock does not count this time.
    std::function<std::chrono::milliseconds()> asleep;
    // Whether the console no longer has the address of the connection.
    std::function<bool(int socket)> hasLostAddress;
    // How often hasLostAddress is asked.
    std::chrono::milliseconds askAddressEvery{2'000};
};

ConsoleFacts RealConsoleFacts();

// After a longer sleep, the network has forgotten the connections.
inline constexpr std::chrono::seconds kLongSleep{10};

// Whether this time is wrong: more than a day before the build of this library, 15 years after it,
// or more than a day off the time that the service sent. Up to a day, the clock of the builder or
// of the service may be the wrong one, and the ages of files are still right enough.
bool IsClockWrong(std::int64_t wallTimeS, const std::optional<std::int64_t>& toldTimeS);

enum class EConsoleClock {
    eUnknown,
    eWrong,     // see IsClockWrong()
    eConfirmed, // the service sent the same time
};

EConsoleClock JudgeClock(std::int64_t wallTimeS, const std::optional<std::int64_t>& toldTimeS);

} // namespace kesdk::impl
