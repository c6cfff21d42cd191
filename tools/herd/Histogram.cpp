#include "tools/herd/Histogram.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace herd {

void Histogram::add(std::chrono::microseconds duration)
{
    const auto us = static_cast<std::uint64_t>(std::max<std::int64_t>(duration.count(), 0));
    ++buckets_[bucketOf(us)];
    ++count_;
    mostUs_ = std::max(mostUs_, us);
}

std::chrono::microseconds Histogram::percentile(double share) const
{
    const auto wanted = static_cast<std::uint64_t>(std::ceil(share * static_cast<double>(count_)));
    std::uint64_t passed = 0;
    for (std::size_t i = 0; i < bucketCount; ++i) {
        passed += buckets_[i];
        if (passed >= wanted && passed > 0) {
            return std::chrono::microseconds(std::min(endOf(i), mostUs_));
        }
    }
    return std::chrono::microseconds(0);
}

// The first 64 buckets are one microsecond wide; from there, 32 buckets double the duration.
std::size_t Histogram::bucketOf(std::uint64_t us)
{
    const auto shift =
        static_cast<std::size_t>(std::max(static_cast<int>(std::bit_width(us)) - 6, 0));
    return std::min(shift * 32 + static_cast<std::size_t>(us >> shift), bucketCount - 1);
}

/** The longest duration of the bucket. */
std::uint64_t Histogram::endOf(std::size_t bucket)
{
    if (bucket == bucketCount - 1) {
        return UINT64_MAX;
    }
    const std::size_t shift = bucket < 64 ? 0 : bucket / 32 - 1;
    return ((static_cast<std::uint64_t>(bucket - shift * 32) + 1) << shift) - 1;
}

} // namespace herd
