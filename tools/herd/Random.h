// A random number generator of eight bytes.
#pragma once

#include <cmath>
#include <cstdint>

namespace herd {

/** SplitMix64. A console needs many generators, and those of the standard library are large. */
class Random
{
public:
    explicit Random(std::uint64_t seed) : state_(seed) {}

    std::uint64_t next() { return mix(state_ += increment); }

    /** Evenly distributed over [0, 1). */
    double fraction() { return toFraction(next()); }

    /** The time to the next event, if independent events come every `mean` on average. */
    double gap(double mean) { return -mean * std::log(1 - fraction()); }

    static constexpr std::uint64_t mix(std::uint64_t value)
    {
        value = (value ^ (value >> 30)) * 0xbf58476d1ce4e5b9;
        value = (value ^ (value >> 27)) * 0x94d049bb133111eb;
        return value ^ (value >> 31);
    }

    static constexpr double toFraction(std::uint64_t value)
    {
        return static_cast<double>(value >> 11) * 0x1p-53;
    }

    static constexpr std::uint64_t increment = 0x9e3779b97f4a7c15;

private:
    std::uint64_t state_;
};

} // namespace herd
