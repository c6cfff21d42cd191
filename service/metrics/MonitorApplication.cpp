#include "service/metrics/MonitorApplication.h"

namespace kelvo::metrics {

MonitorApplication::MonitorApplication(const Metrics& metrics, std::function<Async<bool>()> ready)
    : metrics_(metrics), ready_(std::move(ready)), router_("")
{
    router_.add("GET", "/healthz", [this](http::Request&) { return health(); });
    router_.add("GET", "/metrics", [this](http::Request&) { return show(); });
}

Async<http::Response> MonitorApplication::handle(http::Request& request)
{
    co_return co_await router_.find(request)(request);
}

Async<http::Response> MonitorApplication::health()
{
    const bool ready = co_await ready_();
    auto response = http::Response::text(ready ? "ok" : "not ready", "text/plain");
    response.status = ready ? 200 : 503;
    co_return response;
}

Async<http::Response> MonitorApplication::show() const
{
    co_return http::Response::text(metrics_.text(), "text/plain; version=0.0.4");
}

} // namespace kelvo::metrics
