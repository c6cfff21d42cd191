// The tables, as the statements that make each version of the schema from the version before.
#pragma once

#include <optional>
#include <span>

namespace kelvo::store {

/** The statements that make the next version of the schema. */
struct SchemaStep
{
    std::span<const char* const> statements;

    /**
     * The schema of the oldest program that can use the schema after this step. None: programs from
     * before this step cannot. 0: the step only adds tables, indexes, or columns that have a
     * default or may be null. A step that removes something names the first program that does not
     * use it.
     */
    std::optional<int> oldest = {};
};

/** The steps of this program. Step N makes version N + 1 of version N. */
std::span<const SchemaStep> schemaSteps();

/** The schema version that this program writes. */
int currentSchema();

/** The first schema that stores the number of the oldest program. */
inline constexpr int firstWithOldest = 24;

} // namespace kelvo::store
