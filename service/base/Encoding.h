// Hexadecimal, base64, percent encoding, UTF-8 checks, decimal numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kelvo {

/** The value of a hexadecimal digit, or -1. */
int hexValue(char c);

std::string toHex(std::span<const unsigned char> bytes);

/** Empty for an odd length, or if a character is not a hexadecimal digit. */
std::optional<std::string> fromHex(std::string_view text);

std::string toBase64(std::string_view bytes);

/** Standard alphabet; the padding is optional. Empty for any other text. */
std::optional<std::string> fromBase64(std::string_view text);

/** Encodes every byte as %XX except letters, digits, "-._~" and the bytes of `others`. */
std::string percentEncode(std::string_view text, std::string_view others = {});

/** Decodes %XX; '+' is not changed. Empty for a malformed escape. */
std::optional<std::string> percentDecode(std::string_view text);

/** Whether the text is valid UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF. */
bool isUtf8(std::string_view text);

/** The whole text as a decimal number without sign. Empty if it is not a number or too large. */
std::optional<std::uint64_t> parseNumber(std::string_view text);

/** An id: a decimal number from 1 to 2^31-1. */
std::optional<long long> parseId(std::string_view text);

std::string_view trimmed(std::string_view text);

/** ASCII letters only; the tokens of HTTP are compared like this. */
bool equalsIgnoringCase(std::string_view left, std::string_view right);

} // namespace kelvo
