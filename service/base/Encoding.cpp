#include "service/base/Encoding.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>

namespace kelvo {

namespace {

constexpr std::string_view base64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<int, 256> makeBase64Values()
{
    std::array<int, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < base64Alphabet.size(); ++i) {
        values[static_cast<unsigned char>(base64Alphabet[i])] = static_cast<int>(i);
    }
    return values;
}
constexpr std::array<int, 256> base64Values = makeBase64Values();

/** The number of continuation bytes after this first byte, or -1 if no sequence starts with it. */
int continuationBytes(unsigned char first)
{
    if (first < 0x80) {
        return 0;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return 1;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return 2;
    }
    return first >= 0xF0 && first <= 0xF4 ? 3 : -1;
}

} // namespace

int hexValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

std::string toHex(std::span<const unsigned char> bytes)
{
    static constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const unsigned char byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

std::optional<std::string> fromHex(std::string_view text)
{
    if (text.size() % 2 != 0) {
        return std::nullopt;
    }
    std::string bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2) {
        const int high = hexValue(text[i]);
        const int low = hexValue(text[i + 1]);
        if (high < 0 || low < 0) {
            return std::nullopt;
        }
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes;
}

std::string toBase64(std::string_view bytes)
{
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        const std::size_t taken = std::min<std::size_t>(3, bytes.size() - i);
        for (std::size_t k = 0; k < 3; ++k) {
            group = group << 8 | (k < taken ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        }
        for (std::size_t k = 0; k < 4; ++k) {
            text += k <= taken ? base64Alphabet[group >> (18 - 6 * k) & 63] : '=';
        }
    }
    return text;
}

std::optional<std::string> fromBase64(std::string_view text)
{
    const std::size_t written = text.size();
    for (int padding = 0; padding < 2 && !text.empty() && text.back() == '='; ++padding) {
        text.remove_suffix(1);
    }
    const bool isPadded = text.size() != written;
    if (text.size() % 4 == 1 || (isPadded && (written % 4 != 0))) {
        return std::nullopt; // padding may be missing, but not have a wrong length
    }
    std::string bytes;
    std::uint32_t group = 0;
    int bits = 0;
    for (const char c : text) {
        const int value = base64Values[static_cast<unsigned char>(c)];
        if (value < 0) {
            return std::nullopt;
        }
        group = group << 6 | static_cast<std::uint32_t>(value);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            bytes += static_cast<char>(group >> bits & 0xFF);
        }
    }
    return bytes;
}

std::string percentEncode(std::string_view text, std::string_view others)
{
    static constexpr std::string_view digits = "0123456789ABCDEF";
    static constexpr std::string_view unreserved =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    std::string encoded;
    for (const char c : text) {
        if (unreserved.find(c) != std::string_view::npos ||
            others.find(c) != std::string_view::npos) {
            encoded += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            encoded += {'%', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return encoded;
}

std::optional<std::string> percentDecode(std::string_view text)
{
    std::string plain;
    plain.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            plain += text[i];
            continue;
        }
        const auto byte = fromHex(text.substr(i + 1, 2));
        if (!byte || byte->size() != 1) {
            return std::nullopt;
        }
        plain += *byte;
        i += 2;
    }
    return plain;
}

bool isUtf8(std::string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        const auto first = static_cast<unsigned char>(text[i]);
        const int more = continuationBytes(first);
        if (more < 0 || text.size() - i <= static_cast<std::size_t>(more)) {
            return false;
        }
        std::uint32_t point = more == 0 ? first : first & (0x3FU >> more);
        for (int k = 1; k <= more; ++k) {
            const auto next = static_cast<unsigned char>(text[i + static_cast<std::size_t>(k)]);
            if ((next & 0xC0) != 0x80) {
                return false;
            }
            point = point << 6 | (next & 0x3FU);
        }
        const bool overlong = (more == 2 && point < 0x800) || (more == 3 && point < 0x10000);
        if (overlong || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) {
            return false;
        }
        i += static_cast<std::size_t>(more) + 1;
    }
    return true;
}

std::optional<std::uint64_t> parseNumber(std::string_view text)
{
    std::uint64_t value = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc{} || stopped != end) {
        return std::nullopt;
    }
    return value;
}

std::optional<long long> parseId(std::string_view text)
{
    const auto value = parseNumber(text);
    if (!value || *value == 0 ||
        *value > static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max())) {
        return std::nullopt;
    }
    return static_cast<long long>(*value);
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) {
        text.remove_suffix(1);
    }
    return text;
}

bool equalsIgnoringCase(std::string_view left, std::string_view right)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [lower](char a, char b) { return lower(a) == lower(b); });
}

} // namespace kelvo
