// A disk on which a preallocation takes no space and a hole is not read.
#pragma once

#include <cstdint>
#include <vector>

namespace kesdk::test {

// Sets the largest size that a file may preallocate, and forgets earlier preallocations.
void SetDiskSpace(std::int64_t sizeBytes);
// The sizes of all preallocations, also of the refused ones.
const std::vector<std::int64_t>& Preallocations();

} // namespace kesdk::test
