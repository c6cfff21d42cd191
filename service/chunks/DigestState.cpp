#include "service/chunks/DigestState.h"

#include "service/base/Encoding.h"

#include <array>
#include <bit>
#include <cstring>
#include <stdexcept>

namespace kelvo::chunks {

static_assert(std::endian::native == std::endian::little);
static_assert(sizeof(crypto_hash_sha256_state) == 104, "no padding is saved");

DigestState::DigestState()
{
    crypto_hash_sha256_init(&state_);
}

DigestState::DigestState(const std::string& saved) : DigestState()
{
    if (saved.empty()) {
        return;
    }
    const auto bytes = fromHex(saved);
    if (!bytes || bytes->size() != sizeof(state_)) {
        throw std::invalid_argument("not a saved digest");
    }
    std::memcpy(&state_, bytes->data(), sizeof(state_));
}

void DigestState::add(const void* data, std::size_t sizeBytes)
{
    crypto_hash_sha256_update(&state_, static_cast<const unsigned char*>(data), sizeBytes);
}

std::string DigestState::save() const
{
    std::array<unsigned char, sizeof(state_)> bytes{};
    std::memcpy(bytes.data(), &state_, sizeof(state_));
    return toHex(bytes);
}

std::string DigestState::sha256() const
{
    crypto_hash_sha256_state last = state_;
    std::array<unsigned char, crypto_hash_sha256_BYTES> digest{};
    crypto_hash_sha256_final(&last, digest.data());
    return toHex(digest);
}

} // namespace kelvo::chunks
