// SHA-256 over bytes that come in pieces.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace kesdk::impl {

class Sha256
{
public:
    using Digest = std::array<unsigned char, 32>;

    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void Reset();
    void Update(const void* bytes, std::size_t sizeBytes);
    // Ends the computation; Reset starts a new one.
    Digest Finish();

private:
    struct Free
    {
        void operator()(evp_md_ctx_st* context) const;
    };
    std::unique_ptr<evp_md_ctx_st, Free> m_context;
};

std::string ToHex(const Sha256::Digest& digest);

// The value of the Repr-Digest field that says this digest: sha-256=:BASE64:
std::string ToReprDigest(const Sha256::Digest& digest);
// The digest that such a value says; none if it is not one.
std::optional<Sha256::Digest> FromReprDigest(std::string_view value);

} // namespace kesdk::impl
