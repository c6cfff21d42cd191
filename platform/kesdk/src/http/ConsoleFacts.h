// What the transport asks the console itself.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace kesdk::impl {

// Injected, so that sleeps, lost addresses and wrong clocks are tested without any.
// Thread safety: safe.
struct ConsoleFacts
{
    // By the console's clock, since 1970.
    std::function<std::int64_t()> wallTimeS;
    // How long the console has slept since it started; the steady clock stands still meanwhile.
    std::function<std::chrono::milliseconds()> asleep;
    // Whether the address that a connection goes out from is the console's no more.
    std::function<bool(int socket)> hasLostAddress;
    // How often that is asked.
    std::chrono::milliseconds askAddressEvery{2'000};
};

ConsoleFacts RealConsoleFacts();

// After a longer one nobody on the way knows a connection any more.
inline constexpr std::chrono::seconds kLongSleep{10};

// Whether that can be no right clock's: it shows a time before this library was built or long
// after, or another one than the service told (if it did).
bool IsClockWrong(std::int64_t wallTimeS, const std::optional<std::int64_t>& toldTimeS);

} // namespace kesdk::impl
