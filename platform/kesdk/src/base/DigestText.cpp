#include "base/DigestText.h"

#include "base/Text.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>

namespace kesdk::impl {

namespace {

constexpr std::string_view kReprDigestStart = "sha-256=:";
constexpr std::size_t kBase64Bytes = 44; // of a digest

} // namespace

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
    return std::string(kReprDigestStart) + EncodeBase64(bytes) + ":";
}

std::optional<Sha256::Digest> FromReprDigest(std::string_view value)
{
    if (value.size() != kReprDigestStart.size() + kBase64Bytes + 1)
        return std::nullopt;
    // The decoder pads with zeros to whole groups.
    std::array<unsigned char, kBase64Bytes / 4 * 3> bytes{};
    const std::string text(value.substr(kReprDigestStart.size(), kBase64Bytes));
    if (EVP_DecodeBlock(bytes.data(), reinterpret_cast<const unsigned char*>(text.data()),
                        static_cast<int>(text.size())) != static_cast<int>(bytes.size()))
        return std::nullopt;
    Sha256::Digest digest{};
    std::copy_n(bytes.begin(), digest.size(), digest.begin());
    return ToReprDigest(digest) == value ? std::optional(digest) : std::nullopt;
}

} // namespace kesdk::impl
