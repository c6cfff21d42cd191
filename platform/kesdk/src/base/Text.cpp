#include "base/Text.h"

#include <openssl/evp.h>

#include <algorithm>
#include <charconv>
#include <iterator>

namespace kesdk::impl {

namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsCodePoint(std::uint32_t value)
{
    return value < 0xD800 || (value > 0xDFFF && value <= 0x10FFFF);
}

char Byte(std::uint32_t value)
{
    return static_cast<char>(static_cast<unsigned char>(value));
}

// One row for each length of a sequence: the bits of its first byte, and its lowest code point.
struct SequenceForm
{
    std::uint32_t mask;
    std::uint32_t lead;
    std::size_t length;
    std::uint32_t least;
};

constexpr SequenceForm kForms[] = {
    {0x80, 0x00, 1, 0x0},
    {0xE0, 0xC0, 2, 0x80},
    {0xF0, 0xE0, 3, 0x800},
    {0xF8, 0xF0, 4, 0x10000},
};

void AppendUtf8(std::string& out, std::uint32_t code)
{
    const auto form = std::find_if(std::rbegin(kForms), std::rend(kForms),
                                   [code](const SequenceForm& row) { return row.least <= code; });
    std::size_t shift = 6 * (form->length - 1);
    out += Byte(form->lead | (code >> shift));
    while (shift > 0) {
        shift -= 6;
        out += Byte(0x80 | ((code >> shift) & 0x3F));
    }
}

// Removes one code point from the front. If the front is not valid: removes one byte and returns
// the replacement character.
std::uint32_t TakeCodePoint(std::string_view& rest)
{
    const auto first = static_cast<unsigned char>(rest.front());
    for (const SequenceForm& form : kForms) {
        if ((first & form.mask) != form.lead || rest.size() < form.length)
            continue;
        std::uint32_t code = first & ~form.mask & 0xFFu;
        std::size_t i = 1;
        for (; i < form.length; ++i) {
            const auto next = static_cast<unsigned char>(rest[i]);
            if ((next & 0xC0u) != 0x80u)
                break;
            code = (code << 6) | (next & 0x3Fu);
        }
        if (i != form.length || code < form.least || !IsCodePoint(code))
            break;
        rest.remove_prefix(form.length);
        return code;
    }
    rest.remove_prefix(1);
    return kReplacement;
}

char ToLower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsUnreserved(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("-._~").find(c) != std::string_view::npos;
}

} // namespace

std::string ToUtf8(std::wstring_view text)
{
    std::string out;
    out.reserve(text.size());
    for (const wchar_t c : text) {
        // NOLINTNEXTLINE(bugprone-signed-char-misuse): a wchar_t is no char
        const auto code = static_cast<std::uint32_t>(c);
        AppendUtf8(out, IsCodePoint(code) ? code : kReplacement);
    }
    return out;
}

std::wstring ToWide(std::string_view utf8)
{
    std::wstring out;
    out.reserve(utf8.size());
    while (!utf8.empty())
        out += static_cast<wchar_t>(TakeCodePoint(utf8));
    return out;
}

std::wstring EscapeHtml(std::wstring_view text)
{
    constexpr std::wstring_view kSpecial = L"&<>\"'";
    constexpr const wchar_t* kEscaped[] = {L"&amp;", L"&lt;", L"&gt;", L"&quot;", L"&#39;"};
    std::wstring out;
    out.reserve(text.size());
    for (const wchar_t c : text) {
        const std::size_t at = kSpecial.find(c);
        if (at == std::wstring_view::npos)
            out += c;
        else
            out += kEscaped[at];
    }
    return out;
}

std::string EncodeBase64(std::string_view bytes)
{
    std::string out(4 * ((bytes.size() + 2) / 3) + 1, '\0'); // EVP_EncodeBlock adds a zero
    const int length = EVP_EncodeBlock(reinterpret_cast<unsigned char*>(out.data()),
                                       reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
    out.resize(static_cast<std::size_t>(length));
    return out;
}

std::string EncodePathSegment(std::string_view utf8)
{
    constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    for (const char c : utf8) {
        if (IsUnreserved(c)) {
            out += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        out += '%';
        out += kHex[byte >> 4];
        out += kHex[byte & 0x0F];
    }
    return out;
}

bool EqualNoCase(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return ToLower(a) == ToLower(b); });
}

std::string_view Trim(std::string_view text)
{
    constexpr std::string_view kBlank = " \t\r\n";
    const std::size_t first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

bool IsFieldText(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

std::optional<std::int64_t> ToInteger(std::string_view text)
{
    std::int64_t value = 0;
    const char* end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, value);
    return parsed.ec == std::errc() && parsed.ptr == end ? std::optional(value) : std::nullopt;
}

} // namespace kesdk::impl
