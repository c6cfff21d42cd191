// The stall timeout of a peer that sends or receives too slowly.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace kelvo::http {

/**
 * Waiting uses the timeout up; `progressBytes` restart it. A few bytes now and then are no
 * progress. A value without a clock: the caller says how long it waited.
 */
class StallTimeout
{
public:
    StallTimeout(std::chrono::milliseconds whole, std::uint64_t progressBytes)
        : whole_(whole), left_(whole), progressBytes_(progressBytes)
    {}

    std::chrono::milliseconds left() const { return left_; }

    /** After a wait of `waited`, `bytes` were transferred. */
    void count(std::chrono::milliseconds waited, std::uint64_t bytes)
    {
        transferredBytes_ += bytes;
        left_ -= std::min(waited, left_);
        if (transferredBytes_ >= progressBytes_) {
            restart();
        }
    }

    /** Restarts the timeout. Call it if the wait was not caused by the peer. */
    void restart()
    {
        if (!hasDeadline_) {
            transferredBytes_ = 0;
            left_ = whole_;
        }
    }

    /** Sets a deadline that progress does not move. */
    void endAfter(std::chrono::milliseconds total)
    {
        hasDeadline_ = true;
        left_ = total;
    }

private:
    std::chrono::milliseconds whole_;
    std::chrono::milliseconds left_;
    std::uint64_t progressBytes_;
    std::uint64_t transferredBytes_ = 0; // since the last restart
    bool hasDeadline_ = false;
};

} // namespace kelvo::http
