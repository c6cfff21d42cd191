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
    const bool isRefused = summary.status == 401 || summary.status == 403 || summary.status == 429;
    const bool isLogin = summary.method == "POST" && summary.route == "/sessions";
    failedLogins_ += isLogin && isRefused ? 1 : 0;
    cutHeads_ += summary.method == "other" && summary.status == 408 ? 1 : 0;
    errors_ += summary.status == 500 ? 1 : 0;
    noRoom_ += summary.status == 507 ? 1 : 0;
    const bool isWholeBin = summary.method == "DELETE" && summary.route == "/bin";
    emptiedBins_ += isWholeBin && summary.status / 100 == 2 ? 1 : 0;
    addDuration(summary);
}

void Metrics::addDuration(const http::RequestSummary& summary)
{
    if (summary.route == "/events") {
        return; // an event stream stays open for hours
    }
    Durations& durations = durations_[std::string(summary.route)];
    for (std::size_t i = 0; i < durationBoundsMs.size(); ++i) {
        durations.counts[i] += summary.durationMs <= durationBoundsMs[i] ? 1 : 0;
    }
    ++durations.count;
    durations.sumSeconds += static_cast<double>(summary.durationMs) / 1000;
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
    return text + requestText() + durationText();
}

std::string Metrics::requestText() const
{
    std::string text = describe("kelvo_http_requests_total", "counter", "Requests answered.");
    for (const auto& [labels, count] : requests_) {
        const auto& [method, route, status] = labels;
        text += "kelvo_http_requests_total{method=\"" + method + "\",route=\"" + route +
                "\",status=\"" + std::to_string(status) + "\"} " + std::to_string(count) + "\n";
    }
    struct Row
    {
        const char* name;
        const char* type;
        const char* help;
        std::uint64_t value;
    };
    // A counter for an alert has no labels: Prometheus does not see the first event of a series
    // that begins with this event.
    const Row rows[] = {
        {"kelvo_http_requests_open", "gauge", "Requests in progress, including event streams.",
         openRequests_},
        {"kelvo_http_request_bytes_total", "counter", "Bytes received in bodies.", requestBytes_},
        {"kelvo_http_response_bytes_total", "counter", "Bytes sent in answers.", responseBytes_},
        {"kelvo_http_heads_cut_total", "counter",
         "Connections cut because a request's head came too slowly.", cutHeads_},
        {"kelvo_logins_failed_total", "counter", "Logins that were refused.", failedLogins_},
        {"kelvo_http_errors_total", "counter", "Requests answered with 500.", errors_},
        {"kelvo_http_no_room_total", "counter",
         "Requests answered with 507: the disk is full, or a quota is reached.", noRoom_},
        {"kelvo_bins_emptied_total", "counter", "Whole bins that users have emptied.",
         emptiedBins_},
    };
    for (const Row& row : rows) {
        text += describe(row.name, row.type, row.help) + row.name + " " +
                std::to_string(row.value) + "\n";
    }
    return text;
}

std::string Metrics::durationText() const
{
    const std::string name = "kelvo_http_request_seconds";
    std::string text =
        describe(name.c_str(), "histogram", "Time from a request's head to the end of its answer.");
    for (const auto& [route, durations] : durations_) {
        const std::string label = "{route=\"" + route + "\"";
        for (std::size_t i = 0; i < durationBoundsMs.size(); ++i) {
            text += name + "_bucket" + label + ",le=\"" +
                    numberText(static_cast<double>(durationBoundsMs[i]) / 1000) + "\"} " +
                    std::to_string(durations.counts[i]) + "\n";
        }
        text +=
            name + "_bucket" + label + ",le=\"+Inf\"} " + std::to_string(durations.count) + "\n";
        text += name + "_sum" + label + "} " + numberText(durations.sumSeconds) + "\n";
        text += name + "_count" + label + "} " + std::to_string(durations.count) + "\n";
    }
    return text;
}

} // namespace kelvo::metrics
