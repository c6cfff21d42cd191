// Makes archives for the tests.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace fakes {

// The bytes of a ZIP archive with these files (path, content), stored without compression.
std::string ZipOf(const std::vector<std::pair<std::string, std::string>>& files);

} // namespace fakes
