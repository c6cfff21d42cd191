// Reads and sets the dates of files, also dates that do not fit into a time of 32 bits.
#pragma once

#include <cstdint>
#include <filesystem>

namespace kelvo::test {

// A date that does not fit into 32 bits.
constexpr std::int64_t farFutureS = 4102444800; // 2100-01-01 00:00 UTC

// Sets the time of the last write, in seconds since 1970. Follows links. Returns false on failure.
bool SetFileDate(const std::filesystem::path& file, std::int64_t seconds);

// Returns the time of the last write, in seconds since 1970; -1 on failure.
std::int64_t FileDate(const std::filesystem::path& file);

} // namespace kelvo::test
