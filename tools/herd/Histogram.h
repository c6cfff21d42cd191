// Counts durations in buckets, so the memory does not grow with their number.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace herd {

/** A duration of a bucket differs from its neighbours by 1/32 at most. Above 12 days: one bucket.
 */
class Histogram
{
public:
    /** A negative duration counts as 0. */
    void add(std::chrono::microseconds duration);

    std::uint64_t count() const { return count_; }
    std::chrono::microseconds most() const { return std::chrono::microseconds(mostUs_); }

    /**
     * The least duration that `share` of all durations do not exceed, rounded up by 1/32 at most.
     * `share` is in (0, 1]. 0 if there are no durations.
     */
    std::chrono::microseconds percentile(double share) const;

private:
    static constexpr std::size_t bucketCount = 36 * 32;

    static std::size_t bucketOf(std::uint64_t us);
    static std::uint64_t endOf(std::size_t bucket);

    std::array<std::uint64_t, bucketCount> buckets_{};
    std::uint64_t count_ = 0;
    std::uint64_t mostUs_ = 0;
};

} // namespace herd
