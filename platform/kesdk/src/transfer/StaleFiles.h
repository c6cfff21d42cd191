// Files that nobody has written to for long.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kesdk::impl {

// The console's clock, in seconds since 1970, however wrong it is. Injected, so that tests need not
// wait for a week.
using WallClock = std::function<std::int64_t()>;

inline constexpr std::int64_t kDayS = 24 * 60 * 60;
// As long as the service keeps an upload that nobody goes on with.
inline constexpr std::int64_t kLongestAgeS = 7 * kDayS;

// The regular files in the folder itself whose names are meant. None when it cannot be read.
std::vector<std::string> FilesIn(const std::string& folder,
                                 const std::function<bool(std::string_view)>& isMeant);

// Whether that is a regular file that was written longer ago than that. The age of what was written
// by a clock that was wrong begins now.
bool IsStale(const std::string& path, std::int64_t nowS, std::int64_t longestAgeS = kLongestAgeS);

// Those of them that are stale. None while the clock is wrong: nobody knows what is old then.
std::vector<std::string> StaleFiles(const std::string& folder,
                                    const std::function<bool(std::string_view)>& isMeant,
                                    std::int64_t nowS);

} // namespace kesdk::impl
