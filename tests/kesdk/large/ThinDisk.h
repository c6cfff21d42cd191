// In place of the disk, for this program: space is not taken, and holes are not read.
#pragma once

#include <cstdint>
#include <vector>

namespace kesdk::test {

// What one file may claim from now on, and no claims so far.
void SetDiskSpace(std::int64_t sizeBytes);
// The sizes of all claims, refused ones too.
const std::vector<std::int64_t>& Claims();

} // namespace kesdk::test
