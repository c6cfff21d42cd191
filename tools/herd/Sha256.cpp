#include "tools/herd/Sha256.h"

#include <openssl/evp.h>

#include <stdexcept>

namespace herd {

void Sha256::Free::operator()(evp_md_ctx_st* context) const
{
    EVP_MD_CTX_free(context);
}

Sha256::Sha256() : context_(EVP_MD_CTX_new())
{
    if (!context_ || EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) != 1) {
        throw std::runtime_error("SHA-256 is not available");
    }
}

Sha256::~Sha256() = default;
Sha256::Sha256(Sha256&&) noexcept = default;
Sha256& Sha256::operator=(Sha256&&) noexcept = default;

void Sha256::update(std::string_view bytes)
{
    EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size());
}

Sha256::Digest Sha256::finish()
{
    Digest digest{};
    EVP_DigestFinal_ex(context_.get(), digest.data(), nullptr);
    return digest;
}

std::string toBase64(std::string_view bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4 + 1, '\0'); // EVP_EncodeBlock adds a zero byte
    const int size = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()),
                                     reinterpret_cast<const unsigned char*>(bytes.data()),
                                     static_cast<int>(bytes.size()));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

std::string toHex(const Sha256::Digest& digest)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : digest) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::string toReprDigest(const Sha256::Digest& digest)
{
    const std::string_view bytes(reinterpret_cast<const char*>(digest.data()), digest.size());
    return "sha-256=:" + toBase64(bytes) + ":";
}

} // namespace herd
