// /healthz and /metrics, for a listener that only the operators of the service can reach.
#pragma once

#include "service/http/Connection.h"
#include "service/http/Router.h"
#include "service/metrics/Metrics.h"

#include <functional>

namespace kelvo::metrics {

/** Requests to /healthz and /metrics are neither counted nor logged. */
class MonitorApplication final : public http::Application
{
public:
    /** `ready` tells whether the service can work; it may take time. */
    MonitorApplication(const Metrics& metrics, std::function<Async<bool>()> ready);

    Async<http::Response> handle(http::Request& request) override;
    void requestBegun() override {}
    void requestDone(const http::RequestSummary&) override {}

private:
    Async<http::Response> health();
    Async<http::Response> show() const;

    const Metrics& metrics_;
    std::function<Async<bool>()> ready_;
    http::Router router_;
};

} // namespace kelvo::metrics
