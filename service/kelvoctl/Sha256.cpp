// SHA-256 of a stream of bytes, in the two spellings of the wire.
#include "service/kelvoctl/Sha256.h"

#include "service/kelvoctl/Encoding.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>

namespace kelvoctl {

struct Sha256::State
{
    State() : context(EVP_MD_CTX_new())
    {
        if (context == nullptr || EVP_DigestInit_ex(context, EVP_sha256(), nullptr) != 1) {
            throw std::runtime_error("SHA-256 is not available");
        }
    }
    ~State() { EVP_MD_CTX_free(context); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    EVP_MD_CTX* context;
};

Sha256::Sha256() : m_state(std::make_unique<State>()) {}
Sha256::~Sha256() = default;
Sha256::Sha256(Sha256&&) noexcept = default;
Sha256& Sha256::operator=(Sha256&&) noexcept = default;

void Sha256::add(std::string_view bytes)
{
    if (EVP_DigestUpdate(m_state->context, bytes.data(), bytes.size()) != 1) {
        throw std::runtime_error("SHA-256 failed");
    }
}

std::string Sha256::digest()
{
    std::array<unsigned char, 32> bytes{};
    if (EVP_DigestFinal_ex(m_state->context, bytes.data(), nullptr) != 1) {
        throw std::runtime_error("SHA-256 failed");
    }
    return {bytes.begin(), bytes.end()};
}

std::string hexDigest(std::string_view digest)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string out;
    for (const char character : digest) {
        const auto byte = static_cast<unsigned char>(character);
        out += {digits[byte >> 4], digits[byte & 15]};
    }
    return out;
}

std::string digestHeader(std::string_view digest)
{
    return "sha-256=:" + base64(digest) + ":";
}

} // namespace kelvoctl
