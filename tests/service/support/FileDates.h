// Dates of files, also those that a time of 32 bits does not reach.
#pragma once

#include <cstdint>
#include <filesystem>

namespace kelvo::test {

constexpr std::int64_t farFutureS = 4102444800; // 2100-01-01 00:00 UTC

/** As if it had been written last at that time, in seconds since 1970; false if that cannot be. */
bool setFileDate(const std::filesystem::path& file, std::int64_t seconds);

} // namespace kelvo::test
