#include "service/store/Bind.h"

#include "service/store/Errors.h"

#include <utility>

namespace kelvo::store {

namespace {

thread_local bool isNoted = false;

} // namespace

void noteText(const std::string& text)
{
    isNoted = isNoted || text.find('\0') != std::string::npos;
}

bool takeNotedText()
{
    return std::exchange(isNoted, false);
}

void requireStorableTexts()
{
    if (takeNotedText()) {
        throw UnstorableText();
    }
}

} // namespace kelvo::store
