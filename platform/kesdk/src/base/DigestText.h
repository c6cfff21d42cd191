// Digests as text.
#pragma once

#include "base/Sha256.h"

#include <optional>
#include <string>
#include <string_view>

namespace kesdk::impl {

std::string ToHex(const Sha256::Digest& digest);
std::string HexDigestOf(std::string_view text);

// The Repr-Digest field of this digest: sha-256=:BASE64:
std::string ToReprDigest(const Sha256::Digest& digest);
// The digest in a Repr-Digest field; none if the field is not valid.
std::optional<Sha256::Digest> FromReprDigest(std::string_view value);

} // namespace kesdk::impl
