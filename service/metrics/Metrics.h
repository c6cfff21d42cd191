// Counters as Prometheus text.
#pragma once

#include "service/http/Connection.h"

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <tuple>
#include <vector>

namespace kelvo::metrics {

/** Counts requests. Thread safe. Labels are route templates, so their number is bounded. */
class Metrics
{
public:
    /** The upper bounds of the histogram of the requests' durations. */
    static constexpr std::array<std::int64_t, 12> durationBoundsMs{
        5, 10, 25, 50, 100, 250, 500, 1000, 2500, 5000, 15000, 60000};

    /** A request is open from begin() to count(). count() records how it was answered. */
    void begin();
    void count(const http::RequestSummary& summary);

    /** One value of a metric. `labels` is empty or as in `farm="1",kind="bin"`. */
    struct Sample
    {
        std::string labels;
        double value = 0;
    };

    /** A metric whose values are read each time the metrics are shown. */
    struct Shown
    {
        const char* name;
        const char* type; // "gauge" or "counter"
        const char* help;
        std::function<std::vector<Sample>()> read; // on any I/O thread; must not block
    };

    /** Adds a metric. Call it before text() is called. */
    void show(Shown metric) { shown_.push_back(std::move(metric)); }

    /** Adds a metric with one value. */
    void show(const char* name, const char* type, const char* help, std::function<double()> read);

    std::string text() const;

private:
    /** How long the requests of a route took. */
    struct Durations
    {
        std::array<std::uint64_t, durationBoundsMs.size()> counts{}; // up to each bound
        std::uint64_t count = 0;
        double sumSeconds = 0;
    };

    void addDuration(const http::RequestSummary& summary);
    std::string requestText() const;
    std::string durationText() const;

    using Labels = std::tuple<std::string, std::string, unsigned>; // method, route, status

    mutable std::mutex mutex_; // guards the counters
    std::map<Labels, std::uint64_t> requests_;
    std::map<std::string, Durations> durations_; // by route
    std::uint64_t cutHeads_ = 0;
    std::uint64_t failedLogins_ = 0;
    std::uint64_t errors_ = 0;
    std::uint64_t noRoom_ = 0;
    std::uint64_t emptiedBins_ = 0;
    std::uint64_t openRequests_ = 0;
    std::uint64_t requestBytes_ = 0;
    std::uint64_t responseBytes_ = 0;
    std::vector<Shown> shown_; // does not change after the start
};

} // namespace kelvo::metrics
