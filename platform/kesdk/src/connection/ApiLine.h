// One thread's line to the service.
#pragma once

#include "client/ApiClient.h"
#include "client/RetryingClient.h"
#include "client/WatchedTransport.h"

#include <memory>
#include <utility>

namespace kesdk::impl {

// Owns the transport with its connection, and the clock of its pauses.
class ApiLine
{
public:
    struct Parts
    {
        std::unique_ptr<HttpTransport> transport;
        std::unique_ptr<Clock> clock;
        std::unique_ptr<Sleeper> sleeper;
        std::unique_ptr<Jitter> jitter;
    };

    // `board` is the caller's and outlives the line.
    ApiLine(Parts parts, LinkBoard& board)
        : m_parts(std::move(parts)),
          m_timing(*m_parts.clock, *m_parts.sleeper, *m_parts.jitter),
          m_watched(*m_parts.transport, board),
          m_http(m_watched, m_timing),
          m_api(m_http)
    {}
    ApiLine(const ApiLine&) = delete;
    ApiLine& operator=(const ApiLine&) = delete;

    ApiClient& Api() { return m_api; }
    impl::Timing& Timing() { return m_timing; }

private:
    Parts m_parts;
    impl::Timing m_timing;
    WatchedTransport m_watched;
    RetryingClient m_http;
    ApiClient m_api;
};

} // namespace kesdk::impl
