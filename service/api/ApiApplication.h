// The API behind the listener: routes, errors, log and metrics.
#pragma once

#include "service/api/Context.h"
#include "service/http/Connection.h"
#include "service/http/Router.h"
#include "service/metrics/Metrics.h"

namespace kelvo::api {

/** Thread: any I/O thread. Ownership: the references outlive it. */
class ApiApplication final : public http::Application
{
public:
    ApiApplication(Context& context, metrics::Metrics& metrics);

    Async<http::Response> handle(http::Request& request) override;
    void requestBegun() override;
    void requestDone(const http::RequestSummary& summary) override;

private:
    Async<http::Response> route(http::Request& request);

    http::Router router_;
    metrics::Metrics& metrics_;
};

} // namespace kelvo::api
