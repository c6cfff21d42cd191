// Files that nobody has written to for long.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kesdk::impl {

// The paths of the regular files in the folder itself whose names are meant. None when it cannot be
// read.
std::vector<std::string> FilesIn(const std::string& folder,
                                 const std::function<bool(std::string_view)>& isMeant);

// Those of them which are older
// than the service keeps an upload that nobody goes on with: a week. None when the folder cannot be
// read.
std::vector<std::string> StaleFiles(const std::string& folder,
                                    const std::function<bool(std::string_view)>& isMeant);

} // namespace kesdk::impl
