#include "base/DigestText.h"

#include "base/Text.h"

namespace kesdk::impl {

std::string ToHex(const Sha256::Digest& digest)
{
    constexpr char kHex[] = "0123456789abcdef";
    std::string out;
    for (const unsigned char byte : digest) {
        out += kHex[byte >> 4];
        out += kHex[byte & 0x0F];
    }
    return out;
}

std::string HexDigestOf(std::string_view text)
{
    Sha256 hash;
    hash.Update(text.data(), text.size());
    return ToHex(hash.Finish());
}

std::string ToReprDigest(const Sha256::Digest& digest)
{
    const std::string bytes(digest.begin(), digest.end());
    return "sha-256=:" + EncodeBase64(bytes) + ":";
}

} // namespace kesdk::impl
