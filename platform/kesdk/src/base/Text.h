// Conversions: the contract's wide strings, UTF-8, HTML, base64 and URLs.
#pragma once

#include <cstddef>
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
std::string EncodeBase64(const void* bytes, std::size_t sizeBytes);

// Everything but letters, digits and -._~ as %XX, for one segment of a path.
std::string EncodePathSegment(std::string_view utf8);

// Equal without regard to the case of ASCII letters.
bool EqualNoCase(std::string_view left, std::string_view right);

std::string_view Trim(std::string_view text);

} // namespace kesdk::impl
