// Latencies and failures of the herd, by kind of request.
#pragma once

#include "tools/herd/Histogram.h"

#include <nlohmann/json_fwd.hpp>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace herd {

/** What the herd measures. `kindNames` has the rows of the report in this order. */
enum class EKind : std::uint8_t {
    Account, // farms and users, before the first login
    Connect,
    Login,
    Snapshot,
    Stream,
    Equipment,
    Position,
    List,
    Upload,
    Send,
    Download,
    ReadBack, // of the checks at the end
    FetchReport,
    Logout,
    Event,
    ResumedEvent,
    StartDelay,
};

inline constexpr std::array kindNames = {
    "account",      "connect", "login",  "snapshot",      "stream",      "equipment",
    "position",     "list",    "upload", "send",          "download",    "read-back",
    "fetch-report", "logout",  "event",  "resumed-event", "start-delay",
};
inline constexpr std::size_t kindCount = kindNames.size();

/**
 * Memory: some 150 KB, and a counter for each kind and reason. The reasons are few: HTTP statuses
 * and errors of the network.
 */
class Figures
{
public:
    void succeed(EKind kind, std::chrono::steady_clock::duration taken);
    /** One attempt has failed. Other attempts of the same action may follow. */
    void fail(EKind kind, std::string_view reason);

    const Histogram& of(EKind kind) const { return rows_[static_cast<std::size_t>(kind)]; }
    std::uint64_t failures() const { return failures_; }
    std::uint64_t failuresOf(EKind kind) const;

    void print(std::ostream& out) const;
    nlohmann::json toJson() const;

private:
    std::array<Histogram, kindCount> rows_;
    std::map<std::pair<EKind, std::string>, std::uint64_t> reasons_;
    std::uint64_t failures_ = 0;
};

} // namespace herd
