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
    struct Dependencies
    {
        std::unique_ptr<HttpTransport> transport;
        std::unique_ptr<Clock> clock;
        std::unique_ptr<Sleeper> sleeper;
        std::unique_ptr<Jitter> jitter;
    };

    // `board` is the caller's and outlives the line.
    ApiLine(Dependencies given, LinkBoard& board)
        : m_dependencies(std::move(given)),
          m_timing(*m_dependencies.clock, *m_dependencies.sleeper, *m_dependencies.jitter),
          m_watched(*m_dependencies.transport, board),
          m_http(m_watched, m_timing),
          m_api(m_http)
    {}
    ApiLine(const ApiLine&) = delete;
    ApiLine& operator=(const ApiLine&) = delete;

    ApiClient& Api() { return m_api; }
    impl::Timing& Timing() { return m_timing; }

private:
    Dependencies m_dependencies;
    impl::Timing m_timing;
    WatchedTransport m_watched;
    RetryingClient m_http;
    ApiClient m_api;
};

} // namespace kesdk::impl
