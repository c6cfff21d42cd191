// Converts wide text, one code point for each character, to UTF-8.
#pragma once

#include <string>

namespace fakes {

std::string ToUtf8(const std::wstring& text);

} // namespace fakes
