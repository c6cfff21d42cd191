// SHA-256, and the text of RFC 9530 for it.
#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace herd {

class Sha256
{
public:
    using Digest = std::array<unsigned char, 32>;

    Sha256();
    ~Sha256();
    Sha256(Sha256&&) noexcept;
    Sha256& operator=(Sha256&&) noexcept;

    void update(std::string_view bytes);
    /** Call it once, as the last call. */
    Digest finish();

private:
    struct Free
    {
        void operator()(evp_md_ctx_st* context) const;
    };
    std::unique_ptr<evp_md_ctx_st, Free> context_;
};

std::string toBase64(std::string_view bytes);
std::string toHex(const Sha256::Digest& digest);
/** The value of the header `Repr-Digest`. */
std::string toReprDigest(const Sha256::Digest& digest);

} // namespace herd
