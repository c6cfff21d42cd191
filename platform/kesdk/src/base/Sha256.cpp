#include "base/Sha256.h"

#include <openssl/evp.h>

#include <new>

namespace kesdk::impl {

void Sha256::Free::operator()(evp_md_ctx_st* context) const
{
    EVP_MD_CTX_free(context);
}

Sha256::Sha256() : m_context(EVP_MD_CTX_new())
{
    if (!m_context)
        throw std::bad_alloc();
    Reset();
}

void Sha256::Reset()
{
    EVP_DigestInit_ex(m_context.get(), EVP_sha256(), nullptr);
}

void Sha256::Update(const void* bytes, std::size_t sizeBytes)
{
    EVP_DigestUpdate(m_context.get(), bytes, sizeBytes);
}

Sha256::Digest Sha256::Finish()
{
    Digest digest{};
    EVP_DigestFinal_ex(m_context.get(), digest.data(), nullptr);
    return digest;
}

} // namespace kesdk::impl
