#include "service/base/Digest.h"

#include "service/base/Encoding.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>

namespace kelvo {

void Sha256::Free::operator()(evp_md_ctx_st* context) const
{
    EVP_MD_CTX_free(context);
}

Sha256::Sha256() : context_(EVP_MD_CTX_new())
{
    // Fetched once: the lookup of the algorithm takes longer than hashing a small file.
    static EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    if (!context_ || EVP_DigestInit_ex(context_.get(), algorithm, nullptr) != 1) {
        throw std::runtime_error("SHA-256 is not available");
    }
}

void Sha256::add(const void* data, std::size_t sizeBytes)
{
    if (EVP_DigestUpdate(context_.get(), data, sizeBytes) != 1) {
        throw std::runtime_error("SHA-256 failed");
    }
}

std::string Sha256::finishHex()
{
    std::array<unsigned char, 32> digest{};
    unsigned int size = 0;
    if (EVP_DigestFinal_ex(context_.get(), digest.data(), &size) != 1 || size != digest.size()) {
        throw std::runtime_error("SHA-256 failed");
    }
    return toHex(digest);
}

std::string sha256Hex(std::string_view bytes)
{
    Sha256 digest;
    digest.add(bytes.data(), bytes.size());
    return digest.finishHex();
}

std::string reprDigest(std::string_view sha256InHex)
{
    return "sha-256=:" + toBase64(fromHex(sha256InHex).value_or(std::string())) + ":";
}

} // namespace kelvo
