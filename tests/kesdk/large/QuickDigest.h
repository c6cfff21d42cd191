// A digest in place of SHA-256 that skips the holes of large files.
#pragma once

#include "base/Sha256.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace kesdk::test {

// The digest skips a page whose first byte is zero.
inline constexpr std::size_t kPageBytes = 4096;

// The digest of a hole of whole pages and the text after it. The text must not begin with a zero.
impl::Sha256::Digest DigestOf(std::int64_t holeBytes, const std::string& text);

} // namespace kesdk::test
