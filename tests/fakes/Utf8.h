// Wide text, one code point a character, as the UTF-8 that file systems take.
#pragma once

#include <string>

namespace fakes {

std::string ToUtf8(const std::wstring& text);

} // namespace fakes
