// Characters that names must not have, because they hide or reorder what a reader sees.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelvo {

/**
 * The bytes of the control character at `at`, or 0 if there is none. Control characters: C0, DEL,
 * C1, the line and paragraph separators, and the characters that embed, override or isolate a
 * writing direction.
 */
std::size_t controlBytes(std::string_view utf8, std::size_t at);

bool hasControl(std::string_view utf8);

/** Without the blanks of Unicode at both ends. */
std::string_view withoutBlanks(std::string_view utf8);

} // namespace kelvo
