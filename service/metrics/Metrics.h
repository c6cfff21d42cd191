// Counters as Prometheus text.
#pragma once

#include "service/http/Connection.h"

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <tuple>

namespace kelvo::metrics {

/** Counts requests. Thread safe. Labels are route templates, so their number is bounded. */
class Metrics
{
public:
    /** A request is open from begin() to count(). count() records how it was answered. */
    void begin();
    void count(const http::RequestSummary& summary);

    /** Values that are read when the metrics are read. Set both before text() is called. */
    void setOpenStreams(std::function<std::size_t()> gauge) { openStreams_ = std::move(gauge); }

    void setDamagedReads(std::function<std::uint64_t()> counter)
    {
        damagedReads_ = std::move(counter);
    }

    std::string text() const;

private:
    using Labels = std::tuple<std::string, std::string, unsigned>; // method, route, status

    mutable std::mutex mutex_; // guards the counters
    std::map<Labels, std::uint64_t> requests_;
    std::uint64_t openRequests_ = 0;
    std::uint64_t requestBytes_ = 0;
    std::uint64_t responseBytes_ = 0;
    std::function<std::size_t()> openStreams_;
    std::function<std::uint64_t()> damagedReads_;
};

} // namespace kelvo::metrics
