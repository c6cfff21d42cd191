// A promised digest of some bytes, and the running digest of the bytes.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace kelvo {

/** Movable, not copyable; one thread at a time. Errors: std::runtime_error of the crypto library.
 */
class Checksum
{
public:
    /** The names of the algorithms, in any case of letters. */
    static constexpr const char* algorithms = "sha1,sha256";

    /** `wanted`: raw bytes. Empty for another algorithm, or if the size of `wanted` is wrong. */
    static std::optional<Checksum> of(std::string_view algorithm, std::string wanted);

    void add(const void* data, std::size_t sizeBytes);

    /** Whether the added bytes have the promised digest. Do not use the object afterwards. */
    bool matches();

private:
    struct Free
    {
        void operator()(evp_md_ctx_st* context) const;
    };

    Checksum(const char* algorithm, std::string wanted);

    std::unique_ptr<evp_md_ctx_st, Free> context_;
    std::string wanted_;
};

} // namespace kelvo
