// Conversions: the contract's wide strings, UTF-8, HTML, base64 and URLs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kesdk::impl {

static_assert(sizeof(wchar_t) == 4, "one wchar_t holds one code point");

// An invalid code point (a surrogate, or above U+10FFFF) becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);

// Invalid UTF-8 becomes U+FFFD.
std::wstring ToWide(std::string_view utf8);

// Escapes text for HTML: & < > " '.
std::wstring EscapeHtml(std::wstring_view text);

std::string EncodeBase64(std::string_view bytes);

// Everything but letters, digits and -._~ as %XX, for one segment of a path.
std::string EncodePathSegment(std::string_view utf8);

// Equal without regard to the case of ASCII letters.
bool EqualNoCase(std::string_view left, std::string_view right);

std::string_view Trim(std::string_view text);

// For texts that the SDK sends back in a header field: they must not end the field.
bool IsFieldText(std::string_view text);

// Empty if the text is not a decimal number of 64 bits.
std::optional<std::int64_t> ToInteger(std::string_view text);

} // namespace kesdk::impl
