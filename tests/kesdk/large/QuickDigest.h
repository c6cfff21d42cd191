// In place of SHA-256, for this program: passes over the holes of large files.
#pragma once

#include "base/Sha256.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace kesdk::test {

// A page whose first byte is zero does not count.
inline constexpr std::size_t kPageBytes = 4096;

// Of a hole of whole pages and the text behind it, which begins with no zero.
impl::Sha256::Digest DigestOf(std::int64_t holeBytes, const std::string& text);

} // namespace kesdk::test
