// /healthz and /metrics, for the listener that only the operators of the service reach.
#pragma once

#include "service/http/Connection.h"
#include "service/http/Router.h"
#include "service/metrics/Metrics.h"

#include <functional>

namespace kelvo::metrics {

/** Its own requests are neither counted nor logged. */
class MonitorApplication final : public http::Application
{
public:
    /** `ready` says whether the service can do its work; it may take its time. */
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
