// Dates of files, including dates after 2038.
#pragma once

#include <cstdint>
#include <filesystem>

namespace kelvo::test {

constexpr std::int64_t farFutureS = 4102444800; // 2100-01-01 00:00 UTC

/** Sets the file's last write to this time, in seconds since 1970. Returns false if that fails. */
bool setFileDate(const std::filesystem::path& file, std::int64_t seconds);

} // namespace kelvo::test
