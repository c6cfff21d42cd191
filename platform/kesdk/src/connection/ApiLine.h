// One thread's line to the service.
#pragma once

#include "client/ApiClient.h"
#include "client/RetryingClient.h"
#include "client/WatchedTransport.h"

#include <memory>
#include <utility>

namespace kesdk::impl {

// Owns the transport with its connection, and the time of its pauses.
class ApiLine
{
public:
    struct Dependencies
    {
        std::unique_ptr<HttpTransport> transport;
        std::unique_ptr<impl::Timing> timing;
    };

    // `board` is the caller's and outlives the line.
    ApiLine(Dependencies given, LinkBoard& board)
        : m_dependencies(std::move(given)),
          m_watched(*m_dependencies.transport, board),
          m_http(m_watched, *m_dependencies.timing),
          m_api(m_http)
    {}
    ApiLine(const ApiLine&) = delete;
    ApiLine& operator=(const ApiLine&) = delete;

    ApiClient& Api() { return m_api; }
    impl::Timing& Timing() { return *m_dependencies.timing; }

private:
    Dependencies m_dependencies;
    WatchedTransport m_watched;
    RetryingClient m_http;
    ApiClient m_api;
};

} // namespace kesdk::impl
