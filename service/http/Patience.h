// How long a peer may still take with what it sends, or with what it is sent.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace kelvo::http {

/**
 * A time that waiting uses up and progress renews: a byte now and then is no progress. A value; it
 * knows no clock, only how long was waited.
 */
class Patience
{
public:
    /** Whole again whenever `progressBytes` have come since it was. */
    Patience(std::chrono::milliseconds whole, std::uint64_t progressBytes)
        : whole_(whole), left_(whole), progressBytes_(progressBytes)
    {}

    std::chrono::milliseconds left() const { return left_; }

    /** So much came after so long a wait. */
    void spend(std::chrono::milliseconds waited, std::uint64_t bytes)
    {
        cameBytes_ += bytes;
        left_ -= std::min(waited, left_);
        if (cameBytes_ >= progressBytes_) {
            renew();
        }
    }

    /** Whole again, as after progress: the wait was not the peer's. */
    void renew()
    {
        if (isRenewed_) {
            cameBytes_ = 0;
            left_ = whole_;
        }
    }

    /** From now on this is all there is. */
    void end(std::chrono::milliseconds total)
    {
        isRenewed_ = false;
        left_ = total;
    }

private:
    std::chrono::milliseconds whole_;
    std::chrono::milliseconds left_;
    std::uint64_t progressBytes_;
    std::uint64_t cameBytes_ = 0; // since it was whole
    bool isRenewed_ = true;
};

} // namespace kelvo::http
