// SHA-256 of bytes that arrive in pieces.
#pragma once

#include <array>
#include <cstddef>
#include <memory>

struct evp_md_ctx_st;

namespace kesdk::impl {

class Sha256
{
public:
    using Digest = std::array<unsigned char, 32>;

    Sha256();

    void Reset();
    void Update(const void* bytes, std::size_t sizeBytes);
    // Ends the computation. Reset starts a new one.
    Digest Finish();

private:
    struct Free
    {
        void operator()(evp_md_ctx_st* context) const;
    };
    std::unique_ptr<evp_md_ctx_st, Free> m_context;
};

} // namespace kesdk::impl
