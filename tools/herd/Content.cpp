#include "tools/herd/Content.h"

#include "tools/herd/Random.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace herd {

std::size_t Content::read(std::uint64_t offset, std::span<char> out) const
{
    if (offset >= sizeBytes_) {
        return 0;
    }
    const auto wanted = std::min<std::uint64_t>(out.size(), sizeBytes_ - offset);
    std::size_t done = 0;
    while (done < wanted) {
        const std::uint64_t at = offset + done;
        const std::uint64_t word = Random::mix(seed_ + (at / 8 + 1) * Random::increment);
        const auto skip = static_cast<std::size_t>(at % 8);
        const std::size_t taken = std::min<std::size_t>(8 - skip, wanted - done);
        std::memcpy(out.data() + done, reinterpret_cast<const char*>(&word) + skip, taken);
        done += taken;
    }
    return done;
}

Sha256::Digest Content::digest() const
{
    Sha256 hash;
    std::array<char, 16384> buffer;
    for (std::uint64_t offset = 0; offset < sizeBytes_;) {
        const std::size_t got = read(offset, buffer);
        hash.update({buffer.data(), got});
        offset += got;
    }
    return hash.finish();
}

} // namespace herd
