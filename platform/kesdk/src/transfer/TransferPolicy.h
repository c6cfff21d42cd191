// How stubbornly uploads and downloads go on over a bad link.
#pragma once

#include "client/RetryingClient.h"

#include <chrono>

namespace kesdk::impl {

// Attempts are counted anew whenever a byte more has arrived.
inline constexpr RetryPolicy kTransferPolicy{6, std::chrono::milliseconds(500),
                                             std::chrono::milliseconds(8'000),
                                             std::chrono::milliseconds(0)};

// A service that asks for a longer pause is not waited for within the call.
inline constexpr std::chrono::seconds kLongestWaitForService{60};

inline bool IsWorthWaiting(const Failure& failure, int fruitless)
{
    return MayPass(failure) && fruitless < kTransferPolicy.attempts &&
           failure.retryAfter.value_or(std::chrono::seconds(0)) <= kLongestWaitForService;
}

} // namespace kesdk::impl
