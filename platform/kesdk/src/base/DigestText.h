// Digests as text.
#pragma once

#include "base/Sha256.h"

#include <optional>
#include <string>
#include <string_view>

namespace kesdk::impl {

std::string ToHex(const Sha256::Digest& digest);

// The value of the Repr-Digest field that says this digest: sha-256=:BASE64:
std::string ToReprDigest(const Sha256::Digest& digest);
// The digest that such a value says; none if it is not one.
std::optional<Sha256::Digest> FromReprDigest(std::string_view value);

} // namespace kesdk::impl
