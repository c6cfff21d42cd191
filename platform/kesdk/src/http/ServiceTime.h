// The service's clock.
#pragma once

#include "http/ConsoleFacts.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <utility>

namespace kesdk::impl {

// The service tells its time with each answer. All lines to the service share the last told time.
//
// Thread safety: safe.
class ServiceTime
{
public:
    explicit ServiceTime(ConsoleFacts console) : m_console(std::move(console)) {}

    // `toldS`: seconds since 1970, from a service whose certificate was verified.
    void Note(std::int64_t toldS);
    // Empty until the service has told its time.
    std::optional<std::int64_t> NowS() const;
    // The console's clock if it differs from the service's by a day at most. Otherwise -1, which
    // IsClockWrong refuses. For the age of files: if the clock jumps a week ahead, each file looks
    // old.
    std::int64_t ConfirmedWallTimeS() const;
    // Whether the console's clock is wrong by the service's time. False until the service has told
    // its time.
    bool IsConsoleOff() const;

private:
    struct Told
    {
        std::int64_t seconds;
        Clock::Time at;
        std::chrono::milliseconds asleep;
    };

    const ConsoleFacts m_console;
    mutable std::mutex m_mutex; // guards m_told
    std::optional<Told> m_told;
};

} // namespace kesdk::impl
