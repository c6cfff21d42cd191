#include "service/metrics/MonitorApplication.h"

namespace kelvo::metrics {

namespace {

Async<http::Response> health()
{
    co_return http::Response::text("ok", "text/plain");
}

} // namespace

MonitorApplication::MonitorApplication(const Metrics& metrics,
                                       std::function<Async<std::string>()> unready)
    : metrics_(metrics), unready_(std::move(unready)), router_("")
{
    router_.add("GET", "/healthz", [](http::Request&) { return health(); });
    router_.add("GET", "/readyz", [this](http::Request&) { return readiness(); });
    router_.add("GET", "/metrics", [this](http::Request&) { return show(); });
}

Async<http::Response> MonitorApplication::handle(http::Request& request)
{
    co_return co_await router_.find(request)(request);
}

Async<http::Response> MonitorApplication::readiness()
{
    const std::string failure = co_await unready_();
    auto response = http::Response::text(failure.empty() ? "ready" : failure, "text/plain");
    response.status = failure.empty() ? 200 : 503;
    co_return response;
}

Async<http::Response> MonitorApplication::show() const
{
    co_return http::Response::text(metrics_.text(), "text/plain; version=0.0.4");
}

} // namespace kelvo::metrics
