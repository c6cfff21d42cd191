// The bytes of an uploaded file: computed from a seed, so no file is stored.
#pragma once

#include "tools/herd/Sha256.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace herd {

class Content
{
public:
    Content(std::uint64_t seed, std::uint64_t sizeBytes) : seed_(seed), sizeBytes_(sizeBytes) {}

    std::uint64_t sizeBytes() const { return sizeBytes_; }
    /** Fills `out` with the bytes from `offset`. Returns their number: less than asked at the end.
     */
    std::size_t read(std::uint64_t offset, std::span<char> out) const;
    /** Reads all bytes. */
    Sha256::Digest digest() const;

private:
    std::uint64_t seed_;
    std::uint64_t sizeBytes_;
};

} // namespace herd
