#include "service/base/Checksum.h"

#include "service/base/Encoding.h"

#include <openssl/evp.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace kelvo {

namespace {

struct Algorithm
{
    const char* name;       // in the header
    const char* cryptoName; // in OpenSSL
    std::size_t digestBytes;
};
constexpr std::array supportedAlgorithms{Algorithm{"sha1", "SHA1", 20},
                                         Algorithm{"sha256", "SHA256", 32}};

} // namespace

void Checksum::Free::operator()(evp_md_ctx_st* context) const
{
    EVP_MD_CTX_free(context);
}

Checksum::Checksum(const char* algorithm, std::string wanted)
    : context_(EVP_MD_CTX_new()), wanted_(std::move(wanted))
{
    const std::unique_ptr<EVP_MD, void (*)(EVP_MD*)> digest(
        EVP_MD_fetch(nullptr, algorithm, nullptr), EVP_MD_free);
    if (!context_ || !digest || EVP_DigestInit_ex(context_.get(), digest.get(), nullptr) != 1) {
        throw std::runtime_error("a checksum algorithm is not available");
    }
}

std::optional<Checksum> Checksum::of(std::string_view algorithm, std::string wanted)
{
    for (const Algorithm& known : supportedAlgorithms) {
        if (equalsIgnoringCase(algorithm, known.name) && wanted.size() == known.digestBytes) {
            return Checksum(known.cryptoName, std::move(wanted));
        }
    }
    return std::nullopt;
}

void Checksum::add(const void* data, std::size_t sizeBytes)
{
    if (EVP_DigestUpdate(context_.get(), data, sizeBytes) != 1) {
        throw std::runtime_error("a checksum failed");
    }
}

bool Checksum::matches()
{
    std::string digest(EVP_MAX_MD_SIZE, '\0');
    unsigned int size = 0;
    if (EVP_DigestFinal_ex(context_.get(), reinterpret_cast<unsigned char*>(digest.data()),
                           &size) != 1) {
        throw std::runtime_error("a checksum failed");
    }
    digest.resize(size);
    return digest == wanted_;
}

} // namespace kelvo
