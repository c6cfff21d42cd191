// Defines the functions of base/Sha256.cpp, so that the linker does not take those. Like SHA-256,
// the digest depends on each byte's position, and not on how Update splits the bytes.
#include "large/QuickDigest.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

struct evp_md_ctx_st
{
    std::uint64_t sizeBytes = 0;
    std::uint64_t sum = 0;
    bool counts = false; // the first byte of the current page is not zero
};

namespace kesdk::impl {

void Sha256::Free::operator()(evp_md_ctx_st* context) const
{
    delete context;
}

Sha256::Sha256() : m_context(new evp_md_ctx_st) {}

void Sha256::Reset()
{
    *m_context = {};
}

void Sha256::Update(const void* bytes, std::size_t sizeBytes)
{
    const auto* all = static_cast<const unsigned char*>(bytes);
    std::size_t at = 0;
    while (at < sizeBytes) {
        const std::uint64_t place = m_context->sizeBytes + at;
        const std::uint64_t inPage = place % test::kPageBytes;
        if (inPage == 0)
            m_context->counts = all[at] != 0;
        if (m_context->counts)
            m_context->sum = (m_context->sum ^ place ^ all[at]) * 0x100000001b3u;
        at += m_context->counts ? 1 : static_cast<std::size_t>(test::kPageBytes - inPage);
    }
    m_context->sizeBytes += sizeBytes;
}

Sha256::Digest Sha256::Finish()
{
    Digest digest{};
    std::memcpy(digest.data(), &m_context->sizeBytes, sizeof m_context->sizeBytes);
    std::memcpy(digest.data() + 8, &m_context->sum, sizeof m_context->sum);
    return digest;
}

} // namespace kesdk::impl

namespace kesdk::test {

impl::Sha256::Digest DigestOf(std::int64_t holeBytes, const std::string& text)
{
    const std::vector<char> zeros(std::size_t{1} << 20);
    impl::Sha256 hash;
    while (holeBytes > 0) {
        const std::int64_t part = std::min(holeBytes, static_cast<std::int64_t>(zeros.size()));
        hash.Update(zeros.data(), static_cast<std::size_t>(part));
        holeBytes -= part;
    }
    hash.Update(text.data(), text.size());
    return hash.Finish();
}

} // namespace kesdk::test
