// /healthz, /readyz and /metrics, for a listener that only the operators of the service can reach.
#pragma once

#include "service/http/Connection.h"
#include "service/http/Router.h"
#include "service/metrics/Metrics.h"

#include <functional>

namespace kelvo::metrics {

/** Its requests are neither counted nor logged. */
class MonitorApplication final : public http::Application
{
public:
    /** `unready` returns why the service cannot work; empty: it can. It may take time. */
    MonitorApplication(const Metrics& metrics, std::function<Async<std::string>()> unready);

    Async<http::Response> handle(http::Request& request) override;
    void requestBegun() override {}
    void requestDone(const http::RequestSummary&) override {}

private:
    Async<http::Response> readiness();
    Async<http::Response> show() const;

    const Metrics& metrics_;
    std::function<Async<std::string>()> unready_;
    http::Router router_;
};

} // namespace kelvo::metrics
