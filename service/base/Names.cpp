#include "service/base/Names.h"

#include <algorithm>
#include <array>

namespace kelvo {

namespace {

using namespace std::string_view_literals;

/** A range of characters of one length, whose encodings differ in the last byte only. */
struct Range
{
    std::string_view start; // the bytes before the last
    unsigned char first;
    unsigned char last;

    bool matches(std::string_view text, std::size_t at) const
    {
        if (text.substr(at, start.size()) != start || text.size() - at <= start.size()) {
            return false;
        }
        const auto byte = static_cast<unsigned char>(text[at + start.size()]);
        return byte >= first && byte <= last;
    }
};

constexpr std::array controls{
    Range{""sv, 0x00, 0x1F},         // C0
    Range{""sv, 0x7F, 0x7F},         // DEL
    Range{"\xC2"sv, 0x80, 0x9F},     // C1
    Range{"\xE2\x80"sv, 0xA8, 0xAE}, // U+2028 to U+202E: separators, embeddings, overrides
    Range{"\xE2\x81"sv, 0xA6, 0xA9}, // U+2066 to U+2069: isolates
};

constexpr std::array blanks{
    Range{""sv, 0x20, 0x20},         Range{"\xC2"sv, 0xA0, 0xA0}, // no-break space
    Range{"\xE1\x9A"sv, 0x80, 0x80},                              // U+1680
    Range{"\xE2\x80"sv, 0x80, 0x8B},                              // U+2000 to U+200B
    Range{"\xE2\x80"sv, 0xAF, 0xAF},                              // U+202F
    Range{"\xE2\x81"sv, 0x9F, 0x9F},                              // U+205F
    Range{"\xE3\x80"sv, 0x80, 0x80},                              // U+3000
};

template <std::size_t Size>
std::size_t bytesOf(const std::array<Range, Size>& ranges, std::string_view text, std::size_t at)
{
    const auto found = std::find_if(ranges.begin(), ranges.end(), [text, at](const Range& range) {
        return range.matches(text, at);
    });
    return found == ranges.end() ? 0 : found->start.size() + 1;
}

/** The bytes of the blank at the end, or 0. */
std::size_t lastBlankBytes(std::string_view text)
{
    for (std::size_t size = 1; size <= 3 && size <= text.size(); ++size) {
        if (bytesOf(blanks, text, text.size() - size) == size) {
            return size;
        }
    }
    return 0;
}

} // namespace

std::size_t controlBytes(std::string_view utf8, std::size_t at)
{
    return bytesOf(controls, utf8, at);
}

bool hasControl(std::string_view utf8)
{
    for (std::size_t at = 0; at < utf8.size(); ++at) {
        if (controlBytes(utf8, at) > 0) {
            return true;
        }
    }
    return false;
}

std::string_view withoutBlanks(std::string_view utf8)
{
    while (const std::size_t size = bytesOf(blanks, utf8, 0)) {
        utf8.remove_prefix(size);
    }
    while (const std::size_t size = lastBlankBytes(utf8)) {
        utf8.remove_suffix(size);
    }
    return utf8;
}

} // namespace kelvo
