// Values in statements.
#pragma once

#include <soci/soci.h>

#include <string>
#include <type_traits>

namespace kelvo::store {

/**
 * Notes texts with the character NUL. One database stores such a text whole, another cuts the text
 * at this character. An exception within a statement's expression would execute the unfinished
 * statement, so Database throws UnstorableText after the function that has bound such a text.
 * Thread: any. A note belongs to its thread.
 */
void noteText(const std::string& text);

/** Whether a text was noted since the last call. */
bool takeNotedText();

/** Throws UnstorableText if a text was noted since the last call of takeNotedText(). */
void requireStorableTexts();

/** As soci::use. SOCI refers to `unusedName`: the default value lives as long as the statement. */
template <class Value>
auto use(Value& value, const std::string& unusedName = std::string())
{
    if constexpr (std::is_same_v<std::remove_const_t<Value>, std::string>) {
        noteText(value);
    }
    return soci::use(value, unusedName);
}

} // namespace kelvo::store
