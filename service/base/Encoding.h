// Hexadecimal, base64, percent encoding, UTF-8 checks and decimal numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kelvo {

std::string toHex(std::span<const unsigned char> bytes);

/** Nothing for an odd length or a character that is no hexadecimal digit. */
std::optional<std::string> fromHex(std::string_view text);

std::string toBase64(std::string_view bytes);

/** Standard alphabet; padding may be missing. Nothing for anything else. */
std::optional<std::string> fromBase64(std::string_view text);

/** Decodes %XX; '+' stays as it is. Nothing for a broken escape. */
std::optional<std::string> percentDecode(std::string_view text);

/** Well-formed UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF. */
bool isUtf8(std::string_view text);

/** The whole text as a decimal number without sign; nothing if it is none or too big. */
std::optional<std::uint64_t> parseNumber(std::string_view text);

/** An id: a decimal number within 1..2^31-1. */
std::optional<long long> parseId(std::string_view text);

std::string_view trimmed(std::string_view text);

} // namespace kelvo
