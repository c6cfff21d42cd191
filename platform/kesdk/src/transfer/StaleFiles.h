// Files that are older than a limit.
#pragma once

#include "base/Clock.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kesdk::impl {

// The console's clock, in seconds since 1970; it may be wrong. Injected for tests.
using WallClock = std::function<std::int64_t()>;

// The service keeps an unfinished upload for a week.
inline constexpr std::int64_t kLongestAgeS = 7 * kDayS;

// The regular files in the folder whose names `isMeant` accepts. Empty if the folder cannot be
// read.
std::vector<std::string> FilesIn(const std::string& folder,
                                 const std::function<bool(std::string_view)>& isMeant);

// Whether a regular file is older than the limit. If its date is impossible, its date becomes now.
bool RepairDateAndCheckAge(const std::string& path, std::int64_t nowS,
                           std::int64_t longestAgeS = kLongestAgeS);

// The files of FilesIn that are older than the limit. Empty while the clock is wrong: the ages are
// unknown then.
std::vector<std::string> StaleFiles(const std::string& folder,
                                    const std::function<bool(std::string_view)>& isMeant,
                                    std::int64_t nowS, std::int64_t longestAgeS = kLongestAgeS);

// All files but the `most` newest ones. A file without a date counts as the oldest.
std::vector<std::string> AllButNewest(std::vector<std::string> files, std::size_t most);

// Whether the folder is to be searched for stale files now: once in a run, while the clock is
// right. Adds the folder to `searched`.
bool MustSearch(std::set<std::string>& searched, const std::string& folder, std::int64_t nowS);

} // namespace kesdk::impl
