#include "tests/fakes/Utf8.h"

#include <cstdint>

namespace fakes {

std::string ToUtf8(const std::wstring& text)
{
    std::string utf8;
    const auto append = [&utf8](std::uint32_t byte) { utf8 += static_cast<char>(byte); };
    const auto appendTail = [&append](std::uint32_t code, int shift) {
        append(0x80U | ((code >> shift) & 0x3FU));
    };
    for (const wchar_t character : text) {
        const auto code = static_cast<std::uint32_t>(character);
        if (code < 0x80U) {
            append(code);
        } else if (code < 0x800U) {
            append(0xC0U | (code >> 6));
            appendTail(code, 0);
        } else if (code < 0x10000U) {
            append(0xE0U | (code >> 12));
            appendTail(code, 6);
            appendTail(code, 0);
        } else {
            append(0xF0U | (code >> 18));
            appendTail(code, 12);
            appendTail(code, 6);
            appendTail(code, 0);
        }
    }
    return utf8;
}

} // namespace fakes
