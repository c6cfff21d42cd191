#include "service/metrics/Metrics.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace kelvo::metrics {

namespace {

/** Any other method of a peer becomes "other". */
constexpr std::array<std::string_view, 7> knownMethods{"GET",   "HEAD",   "POST",   "PUT",
                                                       "PATCH", "DELETE", "OPTIONS"};

std::string describe(const char* name, const char* type, const char* help)
{
    return std::string("# HELP ") + name + " " + help + "\n# TYPE " + name + " " + type + "\n";
}

/** All digits of a whole number up to 2^53. */
std::string numberText(double value)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.16g", value);
    return text.data();
}

} // namespace

void Metrics::show(const char* name, const char* type, const char* help,
                   std::function<double()> read)
{
    show({name, type, help, [read = std::move(read)] { return std::vector{Sample{{}, read()}}; }});
}

void Metrics::begin()
{
    const std::lock_guard lock(mutex_);
    ++openRequests_;
}

void Metrics::count(const http::RequestSummary& summary)
{
    const bool known =
        std::find(knownMethods.begin(), knownMethods.end(), summary.method) != knownMethods.end();
    Labels labels{known ? summary.method : "other", summary.route, summary.status};
    const std::lock_guard lock(mutex_);
    --openRequests_;
    ++requests_[std::move(labels)];
    requestBytes_ += summary.receivedBytes;
    responseBytes_ += summary.sentBytes;
}

std::string Metrics::text() const
{
    std::string text = describe("kelvo_build_info", "gauge", "Version of the service.");
    text += "kelvo_build_info{version=\"" KELVO_SERVICE_VERSION "\"} 1\n";
    for (const Shown& metric : shown_) {
        text += describe(metric.name, metric.type, metric.help);
        for (const Sample& sample : metric.read()) {
            text += metric.name + (sample.labels.empty() ? "" : "{" + sample.labels + "}") + " " +
                    numberText(sample.value) + "\n";
        }
    }
    const std::lock_guard lock(mutex_);
    text += describe("kelvo_http_requests_open", "gauge",
                     "Requests in progress, including event streams.");
    text += "kelvo_http_requests_open " + std::to_string(openRequests_) + "\n";
    text += describe("kelvo_http_requests_total", "counter", "Requests answered.");
    for (const auto& [labels, count] : requests_) {
        const auto& [method, route, status] = labels;
        text += "kelvo_http_requests_total{method=\"" + method + "\",route=\"" + route +
                "\",status=\"" + std::to_string(status) + "\"} " + std::to_string(count) + "\n";
    }
    text += describe("kelvo_http_request_bytes_total", "counter", "Bytes received in bodies.");
    text += "kelvo_http_request_bytes_total " + std::to_string(requestBytes_) + "\n";
    text += describe("kelvo_http_response_bytes_total", "counter", "Bytes sent in answers.");
    text += "kelvo_http_response_bytes_total " + std::to_string(responseBytes_) + "\n";
    return text;
}

} // namespace kelvo::metrics
