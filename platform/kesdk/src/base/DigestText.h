// Digests as text.
#pragma once

#include "base/Sha256.h"

#include <string>
#include <string_view>

namespace kesdk::impl {

std::string ToHex(const Sha256::Digest& digest);
std::string HexDigestOf(std::string_view text);

// The Repr-Digest field of this digest: sha-256=:BASE64:
std::string ToReprDigest(const Sha256::Digest& digest);

} // namespace kesdk::impl
