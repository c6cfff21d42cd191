#include "service/kelvoctl/Names.h"

#include "service/base/Encoding.h"
#include "service/base/Names.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace kelvoctl {
namespace {

// Unicode characters as JSON escapes: the control characters are below U+10000.
std::string jsonEscape(std::string_view character)
{
    unsigned point = static_cast<unsigned char>(character[0]);
    if (character.size() > 1) {
        point &= character.size() == 2 ? 0x1FU : 0x0FU;
    }
    for (const char next : character.substr(1)) {
        point = point << 6 | (static_cast<unsigned char>(next) & 0x3FU);
    }
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "\\u%04x", point & 0xFFFFU);
    return text.data();
}

template <class Replace>
std::string replaceControls(std::string_view text, Replace replace)
{
    std::string out;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t bytes = kelvo::controlBytes(text, at);
        out += bytes > 0 ? replace(text.substr(at, bytes)) : std::string(1, text[at]);
        at += std::max<std::size_t>(bytes, 1);
    }
    return out;
}

} // namespace

std::string percentEncoded(std::string_view text)
{
    return kelvo::percentEncode(text);
}

bool isSafeFileName(std::string_view name)
{
    return !name.empty() && name != "." && name != ".." &&
           name.find('/') == std::string_view::npos && !kelvo::hasControl(name);
}

std::string timeParameter(const char* name, const std::string& time)
{
    if (time.empty()) {
        return {};
    }
    const bool isDay = time.find('T') == std::string::npos;
    return std::string("&") + name + "=" + percentEncoded(isDay ? time + "T00:00:00Z" : time);
}

std::string printable(std::string_view text)
{
    std::string out = replaceControls(text, [](std::string_view) { return std::string("?"); });
    if (!kelvo::isUtf8(out)) { // a terminal may obey single bytes above 0x7F
        std::replace_if(
            out.begin(), out.end(), [](char c) { return (c & 0x80) != 0; }, '?');
    }
    return out;
}

std::string escapedJson(std::string_view json)
{
    return replaceControls(json, jsonEscape);
}

} // namespace kelvoctl
