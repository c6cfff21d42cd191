// SHA-256 of a text or of bytes as they arrive.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace kelvo {

/**
 * A running SHA-256. Movable, not copyable; one thread at a time.
 * Errors: throws std::runtime_error if the crypto library has no SHA-256.
 */
class Sha256
{
public:
    Sha256();

    void add(const void* data, std::size_t sizeBytes);

    /** Returns 64 lower-case hexadecimal digits. Do not use the object afterwards. */
    std::string finishHex();

private:
    struct Free
    {
        void operator()(evp_md_ctx_st* context) const;
    };
    std::unique_ptr<evp_md_ctx_st, Free> context_;
};

std::string sha256Hex(std::string_view bytes);

/** The Repr-Digest value of a hexadecimal digest: "sha-256=:<base64>:". */
std::string reprDigest(std::string_view sha256InHex);

} // namespace kelvo
