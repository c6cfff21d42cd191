// The members of a console's report that the service keeps.
#pragma once

#include "service/api/Documents.h"

#include <cstddef>
#include <span>

namespace kelvo::api {

struct TextMember
{
    const char* name;
    std::size_t mostCharacters;
};

/** The members of an object in a report. The service ignores other members and other types. */
struct Members
{
    std::span<const TextMember> texts;
    std::span<const char* const> numbers;
};

/** The console and its host software. */
extern const Members consoleMembers;

/** A device of a console. */
extern const Members deviceMembers;

/** Throws Problem (unprocessable) for a text that is too long. */
void refuseLongTexts(const nlohmann::json& document, const Members& members);

/** The members only. Longer texts, from older reports, are cut. */
Json pick(const nlohmann::json& document, const Members& members);

} // namespace kelvo::api
