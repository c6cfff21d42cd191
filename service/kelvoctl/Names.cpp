#include "service/kelvoctl/Names.h"

#include <algorithm>

namespace kelvoctl {
namespace {

constexpr std::string_view kHex = "0123456789ABCDEF";

// Independent of the locale: bytes above 0x7F belong to UTF-8 and are not unreserved.
bool isUnreserved(unsigned char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

bool isControl(unsigned char c)
{
    return c < 0x20 || c == 0x7F;
}

} // namespace

std::string percentEncoded(std::string_view text)
{
    std::string out;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (isUnreserved(byte)) {
            out += character;
        } else {
            out += {'%', kHex[byte >> 4], kHex[byte & 15]};
        }
    }
    return out;
}

bool isSafeFileName(std::string_view name)
{
    return !name.empty() && name != "." && name != ".." &&
           std::none_of(name.begin(), name.end(), [](char c) {
               return c == '/' || isControl(static_cast<unsigned char>(c));
           });
}

std::string printable(std::string_view text)
{
    std::string out{text};
    std::replace_if(
        out.begin(), out.end(), [](char c) { return isControl(static_cast<unsigned char>(c)); },
        '?');
    return out;
}

} // namespace kelvoctl
