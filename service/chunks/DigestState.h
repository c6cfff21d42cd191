// A running SHA-256 that can be saved and continued in another process.
#pragma once

#include <cstddef>
#include <string>

#include <sodium/crypto_hash_sha256.h>

namespace kelvo::chunks {

/** Copyable; one thread at a time. OpenSSL's running digest cannot be saved: libsodium's can. */
class DigestState
{
public:
    DigestState();

    /**
     * Continues after save(). An empty text starts anew. Throws std::invalid_argument for another
     * text.
     */
    explicit DigestState(const std::string& saved);

    void add(const void* data, std::size_t sizeBytes);

    /** 208 hexadecimal digits, for machines whose byte order is little endian. */
    std::string save() const;

    /** The SHA-256 of the bytes so far, in hexadecimal. */
    std::string sha256() const;

private:
    crypto_hash_sha256_state state_{};
};

} // namespace kelvo::chunks
